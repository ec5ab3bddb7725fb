#pragma once
// The user, as the logic sees them: message boxes that show a text and bring back an answer,
// and the file, colour and font choices of the common dialogs. The window shows real dialogs,
// the command line asks on the terminal or answers from flags, and tests script the answers
// and keep a transcript of every box.

#include <cstdint>
#include <optional>
#include <string>

namespace optera::platform {

enum class MessageIcon { None, Critical, Exclamation, Question, Information };
enum class MessageButtons { Ok, YesNo };
enum class MessageAnswer { Ok, Yes, No };

struct PromptMessage {
    std::string title;  // empty: the application's title
    std::string text;
    MessageButtons buttons = MessageButtons::Ok;
    MessageIcon icon = MessageIcon::None;

    bool operator==(const PromptMessage&) const = default;
};

// A font as the font dialog shows and returns it.
struct FontChoice {
    std::string name;
    double size = 8.25;  // points
    bool bold = false;
    bool italic = false;
    bool operator==(const FontChoice&) const = default;
};

// The title a box shows: its own, or the application's short name when it has none.
std::string ShownTitle(const PromptMessage& box);

class Prompts {
  public:
    virtual ~Prompts() = default;
    // Shows a box and waits for the user's answer.
    virtual MessageAnswer ShowMessage(const PromptMessage& box) = 0;
    // The file-open dialog: the Windows path of the file the user chose, nullopt when they
    // cancelled. `filter` is the dialog's list of file kinds ("Programs (*.exe)|*.exe").
    virtual std::optional<std::string> ChooseFile(const std::string& title,
                                                  const std::string& filter) {
        (void)title, (void)filter;
        return std::nullopt;
    }
    // The colour dialog, opened on `initial` (red in the low byte): the colour chosen, nullopt
    // when the user cancelled.
    virtual std::optional<std::uint32_t> ChooseColour(std::uint32_t initial) {
        (void)initial;
        return std::nullopt;
    }
    // The font dialog, opened on `initial`: the font chosen, nullopt when the user cancelled.
    virtual std::optional<FontChoice> ChooseFont(const FontChoice& initial) {
        (void)initial;
        return std::nullopt;
    }
    // Lets pending user-interface events run (a long search stays responsive).
    virtual void RunPendingEvents() {}
};

}  // namespace optera::platform
