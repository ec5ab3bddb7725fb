#include "services/ProfileApi.h"

#include <algorithm>

#include "services/ProfileDocument.h"
#include "services/ProfileFileText.h"

namespace optera::services {

// A file's document and the encoding its text is in; a missing file is an empty 8-bit one.
struct LoadedProfile {
    ProfileFileText file;
    ProfileDocument doc;

    explicit LoadedProfile(std::string_view bytes)
        : file(ProfileFileText::Decode(bytes)), doc(ProfileDocument::Parse(file.text())) {}

    std::vector<std::string> ToCaller(std::vector<std::string> items) const {
        for (std::string& item : items) item = file.ToCaller(item);
        return items;
    }
};

namespace {

constexpr std::size_t kKeptFiles = 4;

// Copies NUL-separated items into the buffer as the list functions do: the whole list and a
// closing NUL when it fits, else as much as fits followed by two NULs and a count of size - 2.
std::uint32_t FillList(const std::vector<std::string>& items, std::string& buffer) {
    std::string list;
    for (const std::string& item : items) list.append(item).push_back('\0');
    std::fill(buffer.begin(), buffer.end(), '\0');
    const std::size_t size = buffer.size();
    if (size < 2) return 0;
    if (list.size() + 1 <= size) {
        std::copy(list.begin(), list.end(), buffer.begin());
        return static_cast<std::uint32_t>(list.size());
    }
    std::copy_n(list.begin(), size - 2, buffer.begin());
    return static_cast<std::uint32_t>(size - 2);
}

std::string_view WithoutQuotes(std::string_view value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

}  // namespace

std::shared_ptr<const LoadedProfile> ProfileApi::Load(std::string_view path) const {
    unsigned look = 0;
    {
        std::lock_guard lock(keptLock_);
        if (heldReads_ > 0) {
            look = look_;
            for (const Kept& kept : kept_)
                if (kept.path == path && kept.look == look) return kept.profile;
        }
    }
    bool known = false;
    {
        std::lock_guard lock(keptLock_);
        known = std::any_of(kept_.begin(), kept_.end(),
                            [&](const Kept& kept) { return kept.path == path; });
    }
    if (known) {
        if (const std::optional<platform::FileStamp> now = files_.Stamp(path);
            now && now->settled) {
            std::lock_guard lock(keptLock_);
            for (Kept& kept : kept_) {
                if (kept.path != path || kept.stamp != *now) continue;
                kept.look = look;
                return kept.profile;
            }
        }
    }
    // The stamp is taken before the read: a change in between leaves a newer content under an
    // older stamp, which the next stamp tells apart.
    std::optional<platform::FileStamp> stamp;
    auto bytes = files_.ReadStamped(path, stamp);
    const bool keepable = stamp && stamp->settled;
    auto profile = std::make_shared<const LoadedProfile>(bytes ? *bytes : std::string());
    if (keepable && bytes) {
        std::lock_guard lock(keptLock_);
        std::erase_if(kept_, [&](const Kept& kept) { return kept.path == path; });
        kept_.push_front({std::string(path), *stamp, profile, look});
        if (kept_.size() > kKeptFiles) kept_.pop_back();
    }
    return profile;
}

void ProfileApi::HoldReads() const {
    std::lock_guard lock(keptLock_);
    // A new hold checks every kept file once more.
    if (heldReads_++ == 0) ++look_;
}

void ProfileApi::ReleaseReads() const {
    std::lock_guard lock(keptLock_);
    if (heldReads_ > 0) --heldReads_;
}

std::uint32_t ProfileApi::GetPrivateProfileSectionNamesA(std::string& buffer,
                                                         std::string_view path) const {
    auto profile = Load(path);
    return FillList(profile->ToCaller(profile->doc.SectionNames()), buffer);
}

std::uint32_t ProfileApi::GetPrivateProfileSectionA(std::string_view section, std::string& buffer,
                                                    std::string_view path) const {
    auto profile = Load(path);
    auto entries = profile->doc.SectionEntries(profile->file.FromCaller(section));
    return FillList(entries ? profile->ToCaller(*entries) : std::vector<std::string>(), buffer);
}

std::uint32_t ProfileApi::GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                                   std::string_view fallback, std::string& buffer,
                                                   std::string_view path) const {
    auto profile = Load(path);
    auto value =
        profile->doc.Value(profile->file.FromCaller(section), profile->file.FromCaller(key));
    if (value) value = profile->file.ToCaller(*value);
    std::string_view text = value ? WithoutQuotes(*value) : fallback;
    std::fill(buffer.begin(), buffer.end(), '\0');
    if (buffer.empty()) return 0;
    std::size_t copied = std::min(text.size(), buffer.size() - 1);
    std::copy_n(text.begin(), copied, buffer.begin());
    return static_cast<std::uint32_t>(copied);
}

bool ProfileApi::WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                            std::string_view value, std::string_view path) {
    {
        // Whatever spelling of the path a kept file was read under, it may be this one.
        std::lock_guard lock(keptLock_);
        kept_.clear();
    }
    std::string before;
    if (auto attributes = files_.Attributes(path)) {
        if (*attributes & (platform::attr::ReadOnly | platform::attr::Directory)) return false;
        auto bytes = files_.ReadAll(path);
        if (!bytes) return false;  // never replace a file we could not read
        before = std::move(*bytes);
    }
    LoadedProfile profile(before);
    const ProfileFileText& file = profile.file;
    profile.doc.Set(file.FromCaller(section), file.FromCaller(key), file.FromCaller(value));
    return platform::ReplaceFile(files_, path, file.Encode(profile.doc.Serialize()));
}

}  // namespace optera::services
