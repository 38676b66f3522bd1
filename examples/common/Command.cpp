// Command: see the header.
#include "examples/common/Command.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include "kalvora/export.h"

#include "examples/common/Error.h"

namespace examples {

namespace {

using Words = std::vector<std::string>;

std::string Head(const Option& option) {
  return option.value.empty() ? option.name : option.name + " " + option.value;
}

void PrintOption(const Option& option, int column) {
  std::string lines = option.help;
  const std::string indent(static_cast<std::size_t>(column) + 2, ' ');
  for (std::size_t at = 0; (at = lines.find('\n', at)) != std::string::npos; at += indent.size()) {
    lines.insert(++at, indent);
  }
  std::printf("  %-*s%s\n", column, Head(option).c_str(), lines.c_str());
}

void PrintHelp(const Command& command) {
  std::printf("usage: %s [OPTION...]%s%s\n\n%s\n\n", command.name.c_str(),
              command.operands.empty() ? "" : " ", command.operands.c_str(),
              command.purpose.c_str());
  std::vector<Option> all = command.options;
  all.push_back({"--help", "", "prints this, and ends", nullptr});
  all.push_back({"--version", "", "prints the version, and ends", nullptr});
  std::size_t longest = 0;
  for (const Option& option : all) longest = std::max(longest, Head(option).size());
  for (const Option& option : all) PrintOption(option, static_cast<int>(longest) + 2);
}

void PrintVersion(const Command& command) {
  std::printf("%s %d.%d.%d\n", command.name.c_str(), KALVORA_VERSION_MAJOR, KALVORA_VERSION_MINOR,
              KALVORA_VERSION_PATCH);
}

// Takes the option in words[at], and its value where that is a word of its own: moves `at` there.
void TakeOption(const Command& command, const Words& words, std::size_t& at) {
  const std::size_t equals = std::min(words[at].find('='), words[at].size());
  const std::string name = words[at].substr(0, equals);
  const bool isGiven = equals < words[at].size();
  const auto option = std::find_if(command.options.begin(), command.options.end(),
                                   [&](const Option& o) { return o.name == name; });
  if (option == command.options.end()) throw UsageError("unknown option " + name);
  if (option->value.empty()) {
    if (isGiven) throw UsageError(name + " takes no value");
    return option->set("");
  }
  if (!isGiven && at + 1 == words.size()) throw UsageError(name + " needs a value");
  const std::string value = isGiven ? words[at].substr(equals + 1) : words[++at];
  try {
    option->set(value);
  } catch (const UsageError& error) {
    throw UsageError(name + ": " + error.what());
  }
}

Words TakeOptions(const Command& command, const Words& words) {
  Words operands;
  bool isOver = false;
  for (std::size_t at = 0; at < words.size(); ++at) {
    if (isOver || words[at].size() < 2 || words[at][0] != '-') {
      operands.push_back(words[at]);
    } else if (words[at] == "--") {
      isOver = true;
    } else {
      TakeOption(command, words, at);
    }
  }
  if (operands.size() > command.most) {
    throw UsageError("nothing is known to do with " + operands[command.most]);
  }
  if (operands.size() < command.fewest) throw UsageError("it needs " + command.operands);
  return operands;
}

void Execute(const Command& command, const Words& words,
             const std::function<void(const Words&)>& body) {
  // Before everything else, also beside mistakes.
  for (const std::string& word : words) {
    if (word == "--") break;
    if (word == "--help" || word == "-h") return PrintHelp(command);
    if (word == "--version") return PrintVersion(command);
  }
  body(TakeOptions(command, words));
}

void FlushOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw Error(std::string("standard output: ") + std::strerror(errno));
  }
}

}  // namespace

int Run(const Command& command, int argc, char** argv,
        const std::function<void(const Words&)>& body) {
  const char* const name = command.name.c_str();
  try {
    Execute(command, Words(argv + 1, argv + argc), body);
    FlushOutput();
    return 0;
  } catch (const UsageError& error) {
    std::fprintf(stderr, "%s: %s; %s --help tells more\n", name, error.what(), name);
    return 2;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "%s: %s\n", name, std::strerror(ENOMEM));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name, error.what());
  }
  return 1;
}

int ToNumber(const std::string& text, int low, int high) {
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || value < low || value > high) {
    throw UsageError("'" + text + "' is not a number from " + std::to_string(low) + " to " +
                     std::to_string(high));
  }
  return value;
}

double ToFactor(const std::string& text, double low, double high) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value, std::chars_format::fixed);
  if (result.ec != std::errc() || result.ptr != end || !(value >= low && value <= high)) {
    char range[64];
    std::snprintf(range, sizeof range, "' is not a number from %g to %g", low, high);
    throw UsageError("'" + text + range);
  }
  return value;
}

std::size_t ToChoice(const std::string& text, const Words& words) {
  const auto found = std::find(words.begin(), words.end(), text);
  if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
  throw UsageError("'" + text + "' is none of " + all);
}

}  // namespace examples
