// Command: a program's command line as a table, and the manners that all programs share.
#ifndef EXAMPLES_COMMON_COMMAND_H
#define EXAMPLES_COMMON_COMMAND_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace examples {

struct Option {
  std::string name;   ///< such as "--size"
  std::string value;  ///< what follows it, such as "WxH"; empty: nothing does
  std::string help;   ///< a line or more
  /// Receives the value. What it throws is prefixed by the option's name.
  std::function<void(const std::string&)> set;
};

struct Command {
  std::string name;      ///< the program's
  std::string operands;  ///< as the first line of the help shows them, such as "INPUT OUTPUT"
  std::string purpose;   ///< what the program does, in lines
  std::vector<Option> options;
  std::size_t fewest = 0, most = 0;  ///< operands
};

/// Runs a program: reads the command line ("--name=value" or "--name value"; behind "--" nothing is
/// an option, and "-" never is), answers --help and --version, and calls `body` with the operands.
/// Returns the exit status: 0 done, 1 failed (Error, or standard output that cannot be written), 2
/// wrong usage (UsageError). Reasons go to standard error, with the program's name before them.
int Run(const Command& command, int argc, char** argv,
        const std::function<void(const std::vector<std::string>&)>& body);

/// Values of options. They throw UsageError.
int ToNumber(const std::string& text, int low, int high);
double ToFactor(const std::string& text, double low, double high);
std::size_t ToChoice(const std::string& text, const std::vector<std::string>& words);

}  // namespace examples

#endif
