// Feeds arbitrary bytes to the hive reader as a registry file, sets one value, and checks what
// must always hold:
//  - a file that is only parsed serialises to the same bytes, and says it is unchanged;
//  - an edited file says it is unchanged exactly when its bytes are, and its header check (which
//    reads only the start of the output) agrees with a parse of the whole output;
//  - after the change, a save and a new parse, the key holds what was set (and nothing else
//    changed in it), and every other key has the same values, class, link and time as before;
//  - nothing crashes, hangs or reads out of bounds (the sanitizers watch).
// The change (which key, what name, type and data) is drawn from the bytes themselves.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/wine/RegEscape.h"
#include "platform/wine/RegFile.h"

using namespace optera::platform;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// Text from input bytes: each byte a UTF-16 code unit, two bytes standing for a character above
// the BMP and a lone surrogate, so names hold quotes, backslashes, controls and non-ASCII.
std::string TextFrom(const std::string& bytes, std::size_t at, std::size_t length) {
    std::u16string units;
    for (std::size_t i = at; i < bytes.size() && i < at + length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte == 0xFE)
            units += u"\U0001F30E";
        else if (byte == 0xFF)
            units += static_cast<char16_t>(0xD800);
        else
            units += static_cast<char16_t>(byte);
    }
    return regtext::ToUtf8(units);
}

bool SameValues(const RegFileKey& a, const RegFileKey& b, bool anyOrder) {
    if (a.className != b.className || a.isLink != b.isLink || a.values.size() != b.values.size())
        return false;
    std::vector<const RegFileValue*> x, y;
    for (const RegFileValue& value : a.values) x.push_back(&value);
    for (const RegFileValue& value : b.values) y.push_back(&value);
    if (anyOrder) {
        auto byName = [](const RegFileValue* l, const RegFileValue* r) {
            return regtext::CompareNames(l->name, r->name) < 0;
        };
        std::stable_sort(x.begin(), x.end(), byName);
        std::stable_sort(y.begin(), y.end(), byName);
    }
    for (std::size_t i = 0; i < x.size(); ++i)
        if (x[i]->name != y[i]->name || x[i]->type != y[i]->type || x[i]->data != y[i]->data)
            return false;
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const RegFile file = RegFile::Parse(bytes);
    Check(file.Serialize() == bytes);
    Check(file.Unchanged());

    std::uint64_t hash = 14695981039346656037ULL;
    for (char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    auto draw = [&hash](std::uint64_t n) {
        hash = hash * 6364136223846793005ULL + 1442695040888963407ULL;
        return n == 0 ? 0 : (hash >> 33) % n;
    };
    const std::vector<const RegFileKey*> keys = file.Keys();
    const std::size_t pick = draw(4) == 0 || keys.empty() ? keys.size() : draw(keys.size());
    const std::string path =
        pick < keys.size() ? keys[pick]->path : TextFrom(bytes, draw(size + 1), draw(12));
    RegFileValue value;
    value.name = TextFrom(bytes, draw(size + 1), draw(10));
    static const std::uint32_t kTypes[] = {0, 1, 2, 3, 4, 7, 11, 0xffff0007};
    value.type = kTypes[draw(8)];
    const std::size_t at = draw(size + 1);
    value.data.assign(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                      bytes.begin() + static_cast<std::ptrdiff_t>(std::min(size, at + draw(70))));
    if (draw(2) == 0 && value.type >= 1 && value.type <= 7 && value.type != 3 && value.type != 4) {
        value.data.resize(value.data.size() & ~std::size_t{1});
        value.data.push_back(0);
        value.data.push_back(0);
    }
    const std::uint64_t now = 0x1d000000000000ULL + draw(1ULL << 52);

    RegFile edited = RegFile::Parse(bytes);
    edited.SetValue(path, value, now);
    const std::string saved = edited.Serialize();
    const RegFile again = RegFile::Parse(saved);
    Check(again.Serialize() == saved);
    Check(edited.Unchanged() == (saved == bytes));
    Check(edited.WritesSameHeader() == (again.ok() && again.Arch() == edited.Arch()));

    const RegFileKey* expected = edited.Find(path);
    const RegFileKey* changed = again.Find(path);
    Check(expected != nullptr && changed != nullptr);
    Check(SameValues(*expected, *changed, true));
    auto set =
        std::find_if(changed->values.begin(), changed->values.end(),
                     [&](const RegFileValue& v) { return regtext::SameName(v.name, value.name); });
    Check(set != changed->values.end() && set->type == value.type && set->data == value.data);

    std::size_t others = 0;
    for (const RegFileKey* key : keys) {
        if (regtext::SameName(key->path, changed->path)) continue;
        ++others;
        const RegFileKey* after = again.Find(key->path);
        Check(after != nullptr && SameValues(*key, *after, false) &&
              after->modified == key->modified);
    }
    Check(again.Keys().size() == others + 1);
    return 0;
}
