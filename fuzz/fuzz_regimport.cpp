// Feeds arbitrary bytes to the ".reg" loader and checks what must always hold:
//  - loading never crashes, hangs or reads out of bounds (the sanitizers watch);
//  - whatever the load left in the store, saved as a ".reg" text, loads whole into an empty
//    store, and from the second save on a save and a load give back the same text: a backup we
//    write brings back exactly what it holds (strings gain a missing terminator once).
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/fake/FakeKeyStore.h"
#include "services/RegEditFormat.h"

using namespace optera;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    platform::FakeKeyStore store{true};
    services::ImportText(store, bytes);

    for (const char* root : {"HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_USERS",
                             "HKEY_CLASSES_ROOT", "HKEY_CURRENT_CONFIG"}) {
        const auto saved = services::ExportText(store, root);
        if (!saved) continue;
        // A string stored without its terminator gains it on the first load, as the registry
        // editor adds it; from then on a backup brings back exactly what it holds.
        platform::FakeKeyStore copy{true};
        Check(services::ImportText(copy, services::Utf16FileBytes(*saved)));
        const auto again = services::ExportText(copy, root);
        Check(again.has_value());
        platform::FakeKeyStore third{true};
        Check(services::ImportText(third, services::Utf16FileBytes(*again)));
        Check(services::ExportText(third, root) == again);
    }
    return 0;
}
