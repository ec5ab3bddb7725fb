#pragma once
// What an optimization or a restore could not do, gathered while it runs and told to the user in
// one message at its end. A step that fails still lets the run go on (the next file, the next
// value), but it is never passed over in silence: the user learns what was left as it was.

#include <string>
#include <string_view>
#include <vector>

namespace optera::optimizer {

struct Shortfall {
    std::string what;  // the file, value or step, as the user knows it ("C:\Games\x\video.ini")
    std::string why;   // in plain words ("the disk is full"; "its original copy could not be kept")
};

class RunReport {
  public:
    void Add(std::string what, std::string why) {
        items_.push_back({std::move(what), std::move(why)});
    }
    void Clear() { items_.clear(); }
    bool empty() const { return items_.empty(); }
    const std::vector<Shortfall>& items() const { return items_; }

    // The opening line, a blank line, then one line per shortfall ("<what>: <why>"), joined by
    // CR LF as message boxes show them.
    std::string Text(std::string_view opening) const {
        std::string text(opening);
        text += "\r\n";
        for (const Shortfall& item : items_) text += "\r\n" + item.what + ": " + item.why;
        return text;
    }

  private:
    std::vector<Shortfall> items_;
};

}  // namespace optera::optimizer
