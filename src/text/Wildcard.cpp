#include "text/Wildcard.h"

#include <vector>

#include "text/NoCase.h"

namespace optera::text {

namespace {

// The pattern is first turned into the tokens that Windows' directory search uses, so that
// the DOS conventions about dots and extensions come out of one small matcher.
enum class Token : char {
    Literal,
    Star,     // any run of characters
    DosStar,  // any run of characters that does not reach past the name's last dot
    DosQm,    // one character; none at the end of the name or before a dot
    DosDot,   // a dot, or nothing at the end of the name
};

struct Item {
    Token token;
    char c;
};

std::vector<Item> Tokenize(std::string_view pattern) {
    if (pattern == "*.*") pattern = "*";
    std::vector<Item> items;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        char c = pattern[i];
        bool last = i + 1 == pattern.size();
        char next = last ? '\0' : pattern[i + 1];
        if (c == '*')
            items.push_back({next == '.' ? Token::DosStar : Token::Star, c});
        else if (c == '?')
            items.push_back({Token::DosQm, c});
        else if (c == '.' && (last || next == '*' || next == '?'))
            items.push_back({Token::DosDot, c});
        else
            items.push_back({Token::Literal, c});
    }
    return items;
}

class Matcher {
  public:
    Matcher(std::string_view name, std::vector<Item> items)
        : name_(name),
          items_(std::move(items)),
          lastDot_(name.rfind('.')),
          memo_((items_.size() + 1) * (name.size() + 1), -1) {}

    bool Match(std::size_t p, std::size_t n) {
        signed char& seen = memo_[p * (name_.size() + 1) + n];
        if (seen < 0) seen = Compute(p, n) ? 1 : 0;
        return seen == 1;
    }

  private:
    bool AtEnd(std::size_t n) const { return n == name_.size(); }

    bool Compute(std::size_t p, std::size_t n) {
        if (p == items_.size()) return AtEnd(n);
        const Item& item = items_[p];
        switch (item.token) {
            case Token::Literal:
                return !AtEnd(n) && FoldLower(name_[n]) == FoldLower(item.c) && Match(p + 1, n + 1);
            case Token::Star:
                for (std::size_t k = n; k <= name_.size(); ++k)
                    if (Match(p + 1, k)) return true;
                return false;
            case Token::DosStar: {
                // Stops short of the last dot; with no dot it may take the whole name.
                std::size_t limit =
                    lastDot_ == std::string_view::npos || lastDot_ < n ? name_.size() : lastDot_;
                for (std::size_t k = n; k <= limit; ++k)
                    if (Match(p + 1, k)) return true;
                return false;
            }
            case Token::DosQm:
                if (AtEnd(n) || name_[n] == '.') return Match(p + 1, n);
                return Match(p + 1, n + 1);
            case Token::DosDot:
                if (AtEnd(n)) return Match(p + 1, n);
                return name_[n] == '.' && Match(p + 1, n + 1);
        }
        return false;
    }

    std::string_view name_;
    std::vector<Item> items_;
    std::size_t lastDot_;
    std::vector<signed char> memo_;
};

}  // namespace

bool MatchesWildcard(std::string_view name, std::string_view pattern) {
    Matcher matcher(name, Tokenize(pattern));
    return matcher.Match(0, 0);
}

}  // namespace optera::text
