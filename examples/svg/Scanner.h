// Scanner: reads numbers, words and separators from the text of an attribute.
#ifndef EXAMPLES_SVG_SCANNER_H
#define EXAMPLES_SVG_SCANNER_H

#include <optional>
#include <string>
#include <string_view>

namespace svg {

/// A cursor over attribute text. What it cannot read it leaves where it is. The text must outlive
/// it.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }
  char Peek() const { return rest_.empty() ? '\0' : rest_.front(); }
  std::string_view Rest() const { return rest_; }

  void SkipSpace();
  /// White space with at most one comma in it.
  void SkipSeparator();
  bool Take(char c);
  bool Take(std::string_view word);
  /// Takes one character, whatever it is. '\0' at the end.
  char TakeAny();
  /// Letters, digits, '-', '_' and everything beyond ASCII; empty when none follows.
  std::string_view TakeName();
  /// Up to (not including) the first of `stops`, or everything.
  std::string_view TakeUntil(std::string_view stops);

  /// A decimal number: sign, digits with at most one point, exponent. Huge values become +-1e30.
  std::optional<double> Number();
  /// The next number behind an optional separator.
  std::optional<double> NextNumber();
  /// A single '0' or '1', behind an optional separator; other characters may follow it at once.
  std::optional<bool> NextFlag();

 private:
  std::string_view rest_;
};

constexpr bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}
constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view Trim(std::string_view text);
/// The same text with ASCII letters in lower case.
std::string Lower(std::string_view text);

}  // namespace svg

#endif
