#include "discovery/Scanner.h"

#include <vector>

#include "forms/Names.h"
#include "platform/WindowsPath.h"
#include "text/Wildcard.h"

namespace optera::discovery {

namespace {

using platform::DirEntry;
namespace attr = platform::attr;

// What a directory walk that includes folders gives: normal files and folders, not hidden or
// system entries.
bool Listed(const DirEntry& entry) {
    return (entry.attributes & (attr::Hidden | attr::System)) == 0;
}

// A folder with no attribute bits beyond read-only, hidden, system and archive: the values
// 16 to 23 and 48 to 55.
bool IsPlainFolder(const DirEntry& entry) {
    const std::uint32_t a = entry.attributes;
    return (a >= 16 && a <= 23) || (a >= 48 && a <= 55);
}

}  // namespace

Scanner::Scanner(const platform::FileSystem& files, platform::Prompts& prompts)
    : files_(files), prompts_(prompts), form_("Scanner") {
    form_.SetCaption("Looking for ");
    form_.Add("Label", "Label1");
    form_.Add("Label", "Label2");
    forms::Control& cancel = form_.Add("CommandButton", "CancelBtn");
    cancel.SetCaption("Cancel");
    cancel.On(forms::event::Click,
              [this](forms::Control&, forms::EventArgs&) { CancelRequested = true; });
}

std::string Scanner::StartScan(std::string_view fileName) {
    FoundPath.clear();
    TargetFile.clear();
    CancelRequested = false;
    FileFound = false;
    entered_.clear();
    std::vector<std::string> roots;
    for (const platform::DriveInfo& drive : files_.Drives())
        if (drive.type == platform::DriveType::Fixed) roots.push_back(drive.root);
    TargetFile = fileName;
    for (const std::string& root : roots) {
        if (!FoundPath.empty()) break;
        // A drive already walked through another drive's links is not walked again.
        if (auto id = files_.FileIdentity(root); id && !entered_.insert(*id).second) continue;
        ScanFolder(root);
    }
    return FoundPath;
}

bool Scanner::Interrupted() {
    prompts_.RunPendingEvents();
    return CancelRequested || FileFound;
}

bool Scanner::FirstVisit(const DirEntry& entry) {
    if (entry.device == 0 && entry.fileNumber == 0) return true;
    return entered_.insert({entry.device, entry.fileNumber}).second;
}

void Scanner::ScanFolder(const std::string& folder) {
    std::vector<DirEntry> entries = files_.ListForSearch(folder).value_or(std::vector<DirEntry>{});
    std::erase_if(entries, [](const DirEntry& entry) { return !Listed(entry); });
    if (forms::Control* label = form_.Find("Label2")) label->SetCaption(folder);

    // The first subfolder comes from a walk of names without an extension; after it, the walk
    // covers every name, and the folder already entered is passed over.
    std::size_t first = entries.size();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!text::MatchesWildcard(entries[i].name, "*.")) continue;
        if (IsPlainFolder(entries[i])) {
            first = i;
            break;
        }
        if (Interrupted()) break;
    }
    if (first < entries.size()) {
        if (FirstVisit(entries[first])) ScanFolder(folder + entries[first].name + "\\");
        bool stop = Interrupted();
        for (std::size_t i = 0; i < entries.size() && !stop; ++i) {
            if (i != first && IsPlainFolder(entries[i]) && FirstVisit(entries[i]))
                ScanFolder(folder + entries[i].name + "\\");
            stop = Interrupted();
        }
    }

    for (const DirEntry& entry : entries) {
        if (entry.attributes & attr::Directory) continue;
        if (!text::MatchesWildcard(entry.name, TargetFile)) continue;
        FoundPath = folder + entry.name;
        FileFound = true;
    }
    prompts_.RunPendingEvents();
    if (CancelRequested) FoundPath.clear();
}

}  // namespace optera::discovery
