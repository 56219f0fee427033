// The command lines of the platform's programs: their options, --help, --version, usage errors, and exit statuses.
#ifndef ZUV_DESKTOP_BASE_COMMAND_LINE_H
#define ZUV_DESKTOP_BASE_COMMAND_LINE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class ParseError;
} // namespace CLI

namespace velmora::desktop {

/// How the platform's programs end. Where zuv-desktop runs a command, the command's own status is passed on; the
/// numbers from 125 are those of env, timeout and the shell.
namespace exit_status {
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;
inline constexpr int kUsageError = 2;
inline constexpr int kNothingRun = 125; ///< zuv-desktop failed before the command was started
inline constexpr int kNotExecutable = 126;
inline constexpr int kNotFound = 127;
inline constexpr int kKilledBySignal = 128; ///< plus the number of the signal
} // namespace exit_status

/// An option that takes a value.
struct ValueOption {
    std::string name; ///< with its dashes
    std::string help;
    std::string variable; ///< the environment variable that is read if the option is not given; "" for none
};

struct NumberRange {
    double lowest;
    double highest;
};

/// The options of a program. Every program has --help and --version. The variables that the options are read into keep
/// their values where an option is not given, and outlive the parser. One thread.
class CommandLineParser {
public:
    explicit CommandLineParser(const std::string& description);
    ~CommandLineParser();
    CommandLineParser(const CommandLineParser&) = delete;
    CommandLineParser& operator=(const CommandLineParser&) = delete;

    /// An option without a value. @param given becomes true.
    void addFlag(const std::string& name, const std::string& help, bool& given);

    void addText(const ValueOption& option, std::string& value);

    /// A text that has to be one of `words`.
    void addWord(const ValueOption& option, const std::vector<std::string>& words, std::string& value);

    /// A decimal number in a range, ends included.
    void addNumber(const ValueOption& option, NumberRange range, double& value);

    /// A word that has options of its own behind it.
    /// @param command what stands behind "--", with nothing interpreted; required with the word.
    /// @return the parser of these options, to add them to; it lives as long as this.
    CommandLineParser& addSubcommand(const std::string& name, const std::string& description,
                                     std::vector<std::string>& command);

    /// Whether this subcommand was on the command line.
    bool isGiven() const;

    /// Reads the command line.
    /// @return the program's exit status when it has nothing else to do: help or the version was printed, or the
    ///     command line is wrong, which stderr explains.
    std::optional<int> parse(int argc, char** argv);

    /// Explains on stderr what is wrong with the command line. @return the exit status.
    int refuse(const std::string& problem) const;

private:
    struct Parts;

    explicit CommandLineParser(std::unique_ptr<Parts> parts);
    int refuse(const CLI::ParseError& error) const;
    std::optional<std::string> leftOver() const;

    std::unique_ptr<Parts> m_parts;
};

/// Writes a result to stdout.
/// @return the exit status: a failure, which stderr explains, when it could not be written completely.
int printResult(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_COMMAND_LINE_H
