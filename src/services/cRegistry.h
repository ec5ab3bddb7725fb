#pragma once
// Reads and writes registry values by one full key path ("HKEY_LOCAL_MACHINE\SOFTWARE\x") and a
// value name, over a key store. Hides handles, the split of a path into root and subkey, the
// choice of view on a 64-bit system, buffer sizes and the words for the store's error codes.
//
// Paths. The first component must be one of the seven "HKEY_..." root names, exact as to case.
// A path that does not start with "HKEY_" or that ends with a backslash is malformed: it is then
// taken as a subkey path below the root of the last well-formed path (the object keeps that
// root between calls); with no root kept yet, the user sees "Incorrect Format:" and the path.
// A well-formed path with an unknown root reads as Empty and writes as False, touching nothing.
//
// Views. `Use64BitRegCall` non-zero asks for the 64-bit view (KEY_WOW64_64KEY); 0 for the
// 32-bit view of a 64-bit system. On a system that is not 64-bit it has no effect.
//
// Failures never throw: they give False, "Error", Empty or "" as each operation says. While
// SetDisplayErrorMsg(true), the failures of the value operations are also shown to the user.
//
// Strings are Windows-1252 bytes, as the store takes and gives them.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "platform/Prompts.h"

namespace optera::services {

// A result that may hold nothing (Empty), a Boolean, a text or an integer. Error stands for an
// operation that ended with an error to its caller instead of a result (a binary write of
// nothing); callers that retry treat it like False.
class RegResult {
  public:
    enum class Kind { Empty, Bool, Text, Int, Error };

    RegResult() = default;
    static RegResult Bool(bool value);
    static RegResult Text(std::string value);
    static RegResult Int(std::int32_t value);
    static RegResult Error();

    Kind kind() const { return kind_; }
    bool IsEmpty() const { return kind_ == Kind::Empty; }
    bool IsError() const { return kind_ == Kind::Error; }
    // Empty and Error give "", a Boolean "True"/"False", an integer its decimal digits.
    std::string AsText() const;
    // A Boolean itself, an integer when non-zero; Empty, Error and texts give false.
    bool AsBool() const;
    std::int32_t AsInt() const { return kind_ == Kind::Int ? integer_ : 0; }

    bool operator==(const RegResult&) const = default;

  private:
    Kind kind_ = Kind::Empty;
    bool boolean_ = false;
    std::string text_;
    std::int32_t integer_ = 0;
};

class cRegistry {
  public:
    // `files` are the files SaveKey replaces; without them SaveKey writes only new files.
    cRegistry(platform::KeyStore& store, platform::Prompts& prompts,
              platform::FileSystem* files = nullptr);

    // Creates the key and the keys above it (or opens it). Bool; False with an unknown root.
    RegResult CreateKey(std::string_view sKey, int Use64BitRegCall = 1);
    // Deletes a key with everything below it. Always Empty. The second form starts from a
    // known root: while it is 0 the path is parsed and the root written back into it; while it
    // is not, `Keyname` is a subkey path below it. Keys below the first are looked for in the
    // 64-bit view; a subkey that survives its deletion ends the work on its parent.
    RegResult DeleteAll_KeyAndSubKeyItems(std::string_view Keyname, int Use64BitRegCall = 1);
    RegResult DeleteAll_KeyAndSubKeyItems(std::string_view Keyname, platform::HKEY& rootHandle,
                                          int Use64BitRegCall = 1);
    // Does nothing; False.
    RegResult DeleteAllKeySubItems();
    // Deletes a key that has no subkeys. Bool.
    RegResult DeleteKey(std::string_view Keyname, int Use64BitRegCall = 1);
    // Bool; False without a report when the key does not open.
    RegResult DeleteKeyValue(std::string_view sKeyName, std::string_view sValueName,
                             int Use64BitRegCall = 1);
    // Enables a privilege of the process, e.g. "SeBackupPrivilege".
    bool EnablePrivilege(std::string_view seName);
    // Bytes as upper-case hex pairs joined by ",": "A\n" gives "41,0A".
    static std::string GetBinaryDataFromString(std::string_view szData);
    // A value's bytes as text; "Error" when key or value fails, Empty with an unknown root.
    RegResult GetBinaryValue(std::string_view sKey, std::string_view sKeyName,
                             int Use64BitRegCall = 1);
    // A 32-bit value as Int; "Error" when key or value fails (or the value is longer than 4
    // bytes), Empty with an unknown root.
    RegResult GetDWordValue(std::string_view sKey, std::string_view sKeyName,
                            int Use64BitRegCall = 1);
    // "Error" when the key does not open, "" otherwise. Tells nothing more.
    std::string GetRegistryValueType(std::string_view sKey, int Use64BitRegCall = 1);
    // The reverse of GetBinaryDataFromString.
    static std::string GetStringFromBinaryData(std::string_view szData);
    // A value read as text (of any type): leading blanks dropped, cut before the first
    // character below code 10 (a NUL or a tab). "Error" for a missing key or value or a value
    // of more than 65,535 bytes; Empty with an unknown root.
    RegResult GetStringValue(std::string_view sKey, std::string_view sKeyName,
                             int Use64BitRegCall = 1);
    // Subkey names in store order; one element "" when there are none or the key fails.
    std::vector<std::string> GetSubkeyList(std::string_view Keyname, int Use64BitRegCall = 1);
    // One element per named value with data, as `"name"="text"`, `"name"=hex:41,42` (binary and
    // 32-bit values) or `"name"=hex(7):...` (multi-strings); one element "" when nothing.
    std::vector<std::string> GetValueList(std::string_view sKey, int Use64BitRegCall = 1);
    // Hexadecimal digits (either case) to a number; 0 when a character is not a digit.
    static std::int32_t HexToDec(std::string_view szHexVal);
    // Hex numbers separated by sDelimiter to the characters of those codes; 00 gives nothing.
    static std::string HexToString(std::string_view szHexVal, std::string_view sDelimiter);
    // True for a 32-bit process on a 64-bit system.
    bool Is64Bit() const;
    // Bool: whether the key opens. Empty with an unknown root.
    RegResult KeyExist(std::string_view sKey, int Use64BitRegCall = 1);
    // The full path of the first key below sMainKey named exactly szSubKey (case counts),
    // searched level by level: all names of a level are compared before any deeper level is
    // read. Levels below the first are always read in the 64-bit view. "" when none.
    std::string KeyExistRecursive(std::string_view sMainKey, std::string_view szSubKey,
                                  int Use64BitRegCall = 1);
    // Bool: whether the value exists ("" is the default value). Empty with an unknown root or
    // a key that does not open.
    RegResult KeyValueExist(std::string_view sKey, std::string_view sKeyName,
                            int Use64BitRegCall = 1);
    // Bytes as upper-case hex pairs joined by blanks; "" for the text "error" in any case.
    static std::string RegBinaryToHex(std::string_view sHexVal);
    // The pieces of SplitBinaryText joined; "" for the text "error" in any case.
    static std::string RegBinaryToStr(std::string_view sHexVal);
    // Replaces the content of the key sKeyName below lPredefinedKey by a saved file. Asks for
    // no privilege: the process must already hold SeRestorePrivilege.
    bool RestoreKey(std::string_view sKeyName, std::string_view sFileName,
                    platform::HKEY lPredefinedKey, int Use64BitRegCall = 1);
    // Saves a key and everything below it to a file, with SeBackupPrivilege. A file that exists
    // is replaced in one step (the key is saved beside it, then renamed over it), so that it is
    // never lost to a save that fails; without the machine's files it stays, and the save fails.
    bool SaveKey(std::string_view sKey, std::string_view sFileName, int Use64BitRegCall = 1);
    // Writes a binary value, one byte per character. Bool; a missing key is a failure (no key
    // is created). An empty KeyValue writes nothing and gives Error.
    RegResult SetBinaryValue(std::string_view sKey, std::string_view sKeyName,
                             std::string_view KeyValue, int Use64BitRegCall = 1);
    void SetDisplayErrorMsg(bool vNewValue) { bDisplayErrorMsg = vNewValue; }
    // Writes a 32-bit value, little-endian. Bool; a missing key is a failure.
    RegResult SetDWordValue(std::string_view sKey, std::string_view sKeyName, std::int32_t KeyValue,
                            int Use64BitRegCall = 1);
    // Writes a string value without a terminator ("" writes an empty value). Bool; a missing
    // key is a failure.
    RegResult SetStringValue(std::string_view sKey, std::string_view sKeyName,
                             std::string_view KeyValue, int Use64BitRegCall = 1);

    // Helpers of the operations above, public for their own sake.

    // Drops everything up to a first "hex:" (or "hex"), any case; then a rest of fewer than 3
    // characters is one piece, a longer one is split at each occurrence of its second character.
    static std::vector<std::string> SplitBinaryText(std::string_view text);
    // The words for a store return code; "Undefined Error Code:  " and the number otherwise.
    static std::string GetErrorText(platform::LONG code);
    // The handle of a root name, exact as to case; 0 for any other text.
    static platform::HKEY GetMainKeyHandle(std::string_view name);
    // The text before its first NUL.
    static std::string StripTerminator(std::string_view text);

  private:
    // Name and class buffers of the enumerations; a name that does not fit ends the enumeration.
    static constexpr platform::DWORD kNameBufferSize = 255;

    // Splits a path into root handle and subkey path (see the file comment).
    void ParseKey(std::string& keyName, platform::HKEY& keyHandle);
    // The first step of most operations: ParseKey on a copy of the path, then, if it named a
    // root, the key opened into `handle` with the mask for the view asked for. False when the
    // path names no root; otherwise lReturnCode holds the outcome of the open.
    bool ParseAndOpen(std::string_view sKey, platform::REGSAM (cRegistry::*mask)(int) const,
                      int use64, platform::HKEY& handle);
    platform::REGSAM ReadMask(int use64) const;
    platform::REGSAM WriteMask(int use64) const;
    platform::REGSAM FullMask(int use64) const;
    platform::REGSAM WithView(platform::REGSAM mask, int use64) const;
    // Shows the words for lReturnCode, if the user is to see failures.
    void Report();
    // Subkey names of an open key, as far as they fit 255 characters.
    std::vector<std::string> EnumerateSubkeys(platform::HKEY key);
    RegResult WriteValue(std::string_view sKey, std::string_view sKeyName, platform::DWORD type,
                         std::string_view bytes, int use64, bool emptyIsError);
    void DeleteTree(std::string keyName, platform::HKEY& root, int use64);
    // Saves an open key to the file, over one that exists.
    platform::LONG SaveOver(platform::HKEY key, std::string_view sFileName);

    platform::KeyStore& store_;
    platform::Prompts& prompts_;
    platform::FileSystem* files_;

    platform::HKEY lKeyHandle = 0;
    platform::HKEY lMainKeyHandle = 0;  // kept between calls: malformed paths fall back on it
    platform::DWORD lDisposition = 0;
    platform::LONG lReturnCode = 0;
    std::int32_t lDWordValue = 0;
    std::string sValueBuffer;
    platform::DWORD lValueLength = 0;
    std::int32_t lByteCount = 0;
    std::vector<std::uint8_t> bValueBytes;
    bool bDisplayErrorMsg = false;
    bool bIs64Bit = false;
};

}  // namespace optera::services
