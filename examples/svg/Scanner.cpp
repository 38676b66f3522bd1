// Scanner: see the header.
#include "examples/svg/Scanner.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace svg {

namespace {

constexpr double kHuge = 1e30;

bool IsNameChar(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

std::size_t Digits(std::string_view text, std::size_t from) {
  while (from < text.size() && IsDigit(text[from])) ++from;
  return from;
}

// How many characters of `text` are a number; 0 when it does not start with one.
std::size_t NumberLength(std::string_view text) {
  const std::size_t start = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
  std::size_t end = Digits(text, start);
  std::size_t digits = end - start;
  if (end < text.size() && text[end] == '.') {
    const std::size_t fraction = Digits(text, end + 1);
    digits += fraction - (end + 1);
    if (digits > 0) end = fraction;
  }
  if (digits == 0) return 0;
  // An 'e' without digits belongs to what follows: a unit such as "em".
  if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
    std::size_t exponent = end + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    const std::size_t stop = Digits(text, exponent);
    if (stop > exponent) end = stop;
  }
  return end;
}

}  // namespace

void Scanner::SkipSpace() {
  while (!rest_.empty() && IsSpace(rest_.front())) rest_.remove_prefix(1);
}

void Scanner::SkipSeparator() {
  SkipSpace();
  if (Take(',')) SkipSpace();
}

bool Scanner::Take(char c) {
  if (rest_.empty() || rest_.front() != c) return false;
  rest_.remove_prefix(1);
  return true;
}

bool Scanner::Take(std::string_view word) {
  if (!rest_.starts_with(word)) return false;
  rest_.remove_prefix(word.size());
  return true;
}

char Scanner::TakeAny() {
  const char c = Peek();
  if (!rest_.empty()) rest_.remove_prefix(1);
  return c;
}

std::string_view Scanner::TakeName() {
  std::size_t n = 0;
  while (n < rest_.size() && IsNameChar(rest_[n])) ++n;
  const std::string_view name = rest_.substr(0, n);
  rest_.remove_prefix(n);
  return name;
}

std::string_view Scanner::TakeUntil(std::string_view stops) {
  const std::string_view text = rest_.substr(0, rest_.find_first_of(stops));
  rest_.remove_prefix(text.size());
  return text;
}

std::optional<double> Scanner::Number() {
  const std::size_t length = NumberLength(rest_);
  if (length == 0) return std::nullopt;
  std::string_view text = rest_.substr(0, length);
  rest_.remove_prefix(length);
  if (text.front() == '+') text.remove_prefix(1);

  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    const std::size_t e = text.find_first_of("eE");
    const bool tiny = e != std::string_view::npos && text[e + 1] == '-';
    value = tiny ? 0 : text.front() == '-' ? -kHuge : kHuge;
  }
  return std::clamp(value, -kHuge, kHuge);
}

std::optional<double> Scanner::NextNumber() {
  SkipSeparator();
  return Number();
}

std::optional<bool> Scanner::NextFlag() {
  SkipSeparator();
  if (Take('0')) return false;
  if (Take('1')) return true;
  return std::nullopt;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace svg
