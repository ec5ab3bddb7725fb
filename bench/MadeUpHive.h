#pragma once
// A made-up hive that looks like a fresh 64-bit prefix's system.reg (about 9,000 keys in
// 1.7 MB at scale 1): COM classes and interfaces, services with dwords, expandable and
// multi-strings and wrapped binary data, font substitutes, link keys and empty leaf keys. The
// same every time, so that runs compare.
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "platform/wine/RegFile.h"

namespace optera::bench {

using platform::RegFile;
using platform::RegFileValue;

inline constexpr std::uint64_t kNow = 0x1dd7aeb95b4ec56ULL;  // a FILETIME in 2026

class Random {
  public:
    std::uint32_t Next() {
        state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::uint32_t>(state_ >> 33);
    }
    std::uint32_t Below(std::uint32_t n) { return Next() % n; }

  private:
    std::uint64_t state_ = 0x5eed;
};

inline std::string Guid(Random& random) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%04X-%04X%08X}", random.Next(),
                  random.Below(0x10000), random.Below(0x10000), random.Below(0x10000),
                  random.Below(0x10000), random.Next());
    return text;
}

inline std::vector<std::uint8_t> Utf16(const std::string& text) {
    std::vector<std::uint8_t> data;
    for (char c : text) {
        data.push_back(static_cast<std::uint8_t>(c));
        data.push_back(0);
    }
    data.push_back(0);
    data.push_back(0);
    return data;
}

inline RegFileValue Sz(std::string name, const std::string& text, std::uint32_t type = 1) {
    return {std::move(name), type, Utf16(text)};
}

inline RegFileValue Dword(std::string name, std::uint32_t value) {
    return {std::move(name),
            4,
            {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
             static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)}};
}

inline RegFileValue Bytes(std::string name, Random& random, std::size_t size,
                          std::uint32_t type = 3) {
    RegFileValue value{std::move(name), type, {}};
    for (std::size_t i = 0; i < size; ++i)
        value.data.push_back(static_cast<std::uint8_t>(random.Below(4) == 0 ? random.Next() : 0));
    return value;
}

// Wine's order for these ASCII paths: component by component, without regard to case.
inline bool WineOrder(const std::string& a, const std::string& b) {
    auto rank = [](const std::string& s, std::size_t i) {
        if (i == s.size()) return -2;
        if (s[i] == '\\') return -1;
        return static_cast<int>(
            static_cast<unsigned char>(s[i] >= 'A' && s[i] <= 'Z' ? s[i] + 32 : s[i]));
    };
    for (std::size_t i = 0;; ++i) {
        const int x = rank(a, i), y = rank(b, i);
        if (x != y) return x < y;
        if (x == -2) return false;
    }
}

// `scale` multiplies the number of keys of each kind (1 gives about 1.7 MB).
inline std::string MakeSystemReg(int scale = 1) {
    Random random;
    std::map<std::string, std::vector<RegFileValue>, decltype(&WineOrder)> keys(&WineOrder);
    const std::string dlls[] = {"ole32",    "shell32", "quartz", "mshtml", "msxml3",
                                "wbemprox", "dxdiagn", "qedit",  "mfplat", "windowscodecs"};
    for (int i = 0; i < 1700 * scale; ++i) {
        const std::string clsid = "Software\\Classes\\CLSID\\" + Guid(random);
        const std::string dll = dlls[random.Below(10)];
        keys[clsid] = {Sz("", dll + " object " + std::to_string(i))};
        keys[clsid + "\\InprocServer32"] = {
            Sz("", "C:\\windows\\system32\\" + dll + ".dll"),
            Sz("ThreadingModel", random.Below(3) == 0 ? "Apartment" : "Both")};
        if (random.Below(3) == 0)
            keys[clsid + "\\ProgID"] = {Sz("", dll + ".Object." + std::to_string(i))};
    }
    for (int i = 0; i < 1150 * scale; ++i) {
        const std::string iid = "Software\\Classes\\Interface\\" + Guid(random);
        keys[iid] = {Sz("", "IInterface" + std::to_string(i))};
        keys[iid + "\\NumMethods"] = {Sz("", std::to_string(3 + random.Below(40)))};
        keys[iid + "\\ProxyStubClsid32"] = {Sz("", Guid(random))};
    }
    for (int i = 0; i < 700 * scale; ++i) {
        const std::string service =
            "System\\ControlSet001\\Services\\svc" + std::to_string(i * 7919 % (1000 * scale));
        keys[service] = {
            Sz("DisplayName", "Service number " + std::to_string(i)),
            Dword("ErrorControl", 1),
            Sz("ImagePath", "%SystemRoot%\\system32\\svc" + std::to_string(i) + ".exe", 2),
            Dword("Start", random.Below(5)),
            Dword("Type", 0x10),
            Sz("DependOnService", std::string("RPCSS\0PlugPlay\0", 15), 7),
            Bytes("FailureActions", random, 40 + random.Below(100)),
        };
        keys[service + "\\Parameters"] = {Sz("ServiceDll", "C:\\windows\\system32\\svc.dll", 2)};
    }
    for (int i = 0; i < 60 * scale; ++i) {
        const std::string fonts =
            "Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes" + std::to_string(i);
        std::vector<RegFileValue> values;
        for (int j = 0; j < 12; ++j)
            values.push_back(Sz("Font \x7f" + std::to_string(j) + " \"Sans\"", "Tahoma,204"));
        values.push_back(Bytes("Cache", random, 300, 0));
        keys[fonts] = std::move(values);
    }
    for (int i = 0; i < 40 * scale; ++i) {
        keys["Software\\Classes\\Wow6432Node\\Link" + std::to_string(i)] = {
            Bytes("SymbolicLinkValue", random, 90, 6)};
    }
    for (int i = 0; i < 450 * scale; ++i)  // empty leaf keys
        keys["Software\\Classes\\.ext" + std::to_string(i) + "\\ShellNew"] = {};

    RegFile file = RegFile::Parse(
        "WINE REGISTRY Version 2\n;; All keys relative to REGISTRY\\\\Machine\n\n#arch=win64\n");
    std::uint64_t time = kNow;
    for (const auto& [path, values] : keys) {
        time += random.Below(100000);
        file.AddKey(path, time);
        for (const RegFileValue& value : values) file.SetValue(path, value, time);
        if (path.find("Wow6432Node\\Link") != std::string::npos)
            file.AddKey(path, time).isLink = true;
    }
    return file.Serialize();
}

}  // namespace optera::bench
