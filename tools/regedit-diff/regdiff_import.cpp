// Our side of the registry editor comparison.
//   regdiff_import FILE...           loads each ".reg" file into an empty in-memory registry, as
//                                    Restore would, and writes what it then holds under
//                                    HKEY_CURRENT_USER\Software\RegDiff as our export next to
//                                    it ("FILE.ours", UTF-16LE; none when that key was not made);
//                                    prints each file's name and whether the load was whole.
//   regdiff_import --prefix DIR OUT  writes our export of that key in a Wine prefix to OUT.ours,
//                                    so that the editor's results are written out the same way.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/fake/FakeKeyStore.h"
#include "platform/wine/WineKeyStore.h"
#include "services/RegEditFormat.h"

using namespace optera;

namespace {

constexpr const char* kKey = "HKEY_CURRENT_USER\\Software\\RegDiff";

void Export(platform::KeyStore& store, const std::string& outName) {
    std::remove(outName.c_str());
    if (auto text = services::ExportText(store, kKey)) {
        std::ofstream out(outName, std::ios::binary);
        out << services::Utf16FileBytes(*text);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--prefix") == 0) {
        platform::WineKeyStore store{argv[2]};
        Export(store, std::string(argv[3]) + ".ours");
        return 0;
    }
    for (int i = 1; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        platform::FakeKeyStore store{true};
        const bool whole = services::ImportText(store, bytes);
        Export(store, std::string(argv[i]) + ".ours");
        std::printf("%s %s\n", argv[i], whole ? "whole" : "partial");
    }
    return 0;
}
