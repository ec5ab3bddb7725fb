#pragma once
// The drive search: the small window "Scanner" that shows the folder in hand and a Cancel
// button, and StartScan, which walks every fixed disk for a file and gives its full path.
//
// The walk goes depth first, a folder's subfolders before its own files, and ends at the first
// hit; the folders on the way back still look at their own files, so the hit nearest the root
// wins. Which subfolders are entered, and in what order, follows the old directory walk this
// search was written over: the first subfolder without a point in its name comes first, then
// every other subfolder in directory order; a folder whose subfolders all have points in their
// names is not searched below. Hidden and system folders are passed over, as are folders with
// attribute bits beyond read-only, hidden, system, directory and archive.
//
// Each folder is listed once. A folder reached again through a link is not entered twice, and
// the kernel's own folders (marked system by the machine) are never entered. Pending events run
// after every entry, so that the window stays responsive and Cancel is seen.

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "forms/Form.h"
#include "platform/FileSystem.h"
#include "platform/Prompts.h"

namespace optera::discovery {

class Scanner {
  public:
    Scanner(const platform::FileSystem& files, platform::Prompts& prompts);
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    // The form: its caption, Label1 ("Searching for: ..."), Label2 (the folder in hand) and
    // CancelBtn, whose Click asks the walk to stop.
    forms::Form& Form() { return form_; }

    // Walks the fixed disks for the file; its full path, or "" when nothing was found or the
    // user cancelled.
    std::string StartScan(std::string_view fileName);

  private:
    void ScanFolder(const std::string& folder);
    // Runs pending events; true when the walk of the folder is to end.
    bool Interrupted();
    // Notes a folder as entered; false when it was entered before through another path.
    bool FirstVisit(const platform::DirEntry& entry);

    const platform::FileSystem& files_;
    platform::Prompts& prompts_;
    forms::Form form_;
    std::string FoundPath;
    std::string TargetFile;
    bool CancelRequested = false;
    bool FileFound = false;
    std::set<std::pair<std::uint64_t, std::uint64_t>> entered_;
};

}  // namespace optera::discovery
