#include "base/command_line.h"

#include "base/nearest_word.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>
#include <sstream>
#include <string_view>

namespace velmora::desktop {

namespace {

constexpr std::size_t kLongestQuotation = 40;

/// What was given, for an error message: on one line, and shortened, because it can be of any length.
std::string inQuotes(std::string text) {
    const bool isLong = text.size() > kLongestQuotation;
    text.resize(std::min(text.size(), kLongestQuotation));
    const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7F; };
    std::ranges::replace_if(text, isControl, '?');
    return "\"" + text + (isLong ? "...\"" : "\"");
}

std::string joined(const std::vector<std::string>& words) {
    std::string list = words.front();
    for (std::size_t i = 1; i < words.size(); ++i)
        list += (i + 1 == words.size() ? " or " : ", ") + words[i];
    return list;
}

std::string shortest(double number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

std::optional<double> toNumber(const std::string& text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::string needsValue(const std::string& option, const std::string& kind) {
    return option + " needs a value: " + kind;
}

/// @param take called with the value. @throws CLI::ValidationError to refuse it.
void addOption(CLI::App& app, const ValueOption& option, const std::string& kind,
               const std::function<void(const std::string&)>& take) {
    const auto takeUnlessOption = [&app, option, kind, take](const std::string& value) {
        if (value.starts_with("--") && app.get_option_no_throw(value) != nullptr)
            throw CLI::ValidationError(needsValue(option.name, kind));
        take(value);
    };
    app.add_option_function<std::string>(option.name, takeUnlessOption, option.help)
        ->envname(option.variable)
        ->type_name(kind);
}

/// What is wrong with the option that an error is about; no value if it is about none of this app's. CLI11's errors
/// begin with the option's name, that of a flag without its dashes.
std::optional<std::string> problemOf(const CLI::ParseError& error, const CLI::App& app) {
    const std::string text = error.what();
    const std::string name = text.substr(0, text.find_first_of(": "));
    const auto* option = app.get_option_no_throw(name.starts_with("--") ? name : "--" + name);
    if (option == nullptr)
        return std::nullopt;
    if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr)
        return text; // of this file
    if (option->get_expected_max() == 0)
        return option->get_name() + " takes no value";
    if (option->count() > 1)
        return option->get_name() + " is given more than once";
    return needsValue(option->get_name(), option->get_type_name());
}

/// The option, and the variable that its value can come from as well.
std::string sourceOf(const ValueOption& option) {
    return option.variable.empty() ? option.name : option.name + " (or " + option.variable + ")";
}

} // namespace

struct CommandLineParser::Parts {
    CLI::App* app;
    std::unique_ptr<CLI::App> root; ///< the owner of `app`, unless a parent is
    std::vector<std::string>* command = nullptr;
    std::vector<std::unique_ptr<CommandLineParser>> subcommands = {};
};

CommandLineParser::CommandLineParser(const std::string& description)
    : m_parts(std::make_unique<Parts>(Parts{nullptr, std::make_unique<CLI::App>(description)})) {
    m_parts->app = m_parts->root.get();
    m_parts->app->name(program_invocation_short_name)->allow_extras();
    m_parts->app->set_version_flag("--version", ZUV_VERSION, "Print the version and exit")->disable_flag_override();
}

CommandLineParser::CommandLineParser(std::unique_ptr<Parts> parts) : m_parts(std::move(parts)) {}

CommandLineParser::~CommandLineParser() = default;

void CommandLineParser::addFlag(const std::string& name, const std::string& help, bool& given) {
    m_parts->app->add_flag(name, given, help)->disable_flag_override();
}

void CommandLineParser::addText(const ValueOption& option, std::string& value) {
    addOption(*m_parts->app, option, "TEXT", [&value](const std::string& text) { value = text; });
}

void CommandLineParser::addWord(const ValueOption& option, const std::vector<std::string>& words, std::string& value) {
    addOption(*m_parts->app, option, joined(words), [option, words, &value](const std::string& text) {
        if (std::ranges::find(words, text) == words.end())
            throw CLI::ValidationError(sourceOf(option),
                                       inQuotes(text) + " is not " + joined(words) + didYouMean(text, words));
        value = text;
    });
}

void CommandLineParser::addNumber(const ValueOption& option, NumberRange range, double& value) {
    addOption(*m_parts->app, option, "NUMBER", [option, range, &value](const std::string& text) {
        const std::optional<double> number = toNumber(text);
        // A NaN fails both comparisons.
        if (!number || !(*number >= range.lowest && *number <= range.highest))
            throw CLI::ValidationError(sourceOf(option), inQuotes(text) + " is not a number from " +
                                                             shortest(range.lowest) + " to " + shortest(range.highest));
        value = *number;
    });
}

CommandLineParser& CommandLineParser::addSubcommand(const std::string& name, const std::string& description,
                                                    std::vector<std::string>& command) {
    CLI::App* app = m_parts->app->add_subcommand(name, description)->allow_extras();
    auto parts = std::make_unique<Parts>(Parts{app, nullptr, &command});
    m_parts->subcommands.emplace_back(new CommandLineParser(std::move(parts)));
    return *m_parts->subcommands.back();
}

bool CommandLineParser::isGiven() const {
    return m_parts->app->parsed();
}

std::optional<int> CommandLineParser::parse(int argc, char** argv) {
    // CLI11 gets the arguments before "--" only: it would interpret a "[...]" or a second "--" in a command.
    char** const end = argv + argc;
    char** const separator = std::find(argv, end, std::string_view("--"));
    try {
        m_parts->app->parse(static_cast<int>(separator - argv), argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        if (m_parts->app->exit(error, text, text) == exit_status::kSuccess)
            return printResult(text.str());
        return refuse(error);
    }
    if (const auto word = leftOver())
        return refuse(*word);
    for (const auto& each : m_parts->subcommands) {
        if (!each->isGiven())
            continue;
        if (const auto word = each->leftOver())
            return each->refuse(*word);
        each->m_parts->command->assign(std::min(separator + 1, end), end);
        return each->m_parts->command->empty() ? std::optional(each->refuse("-- COMMAND is required")) : std::nullopt;
    }
    return separator == end ? std::nullopt : std::optional(refuse("\"--\" is not expected"));
}

int CommandLineParser::refuse(const CLI::ParseError& error) const {
    for (const auto& each : m_parts->subcommands) {
        const auto problem = each->isGiven() ? problemOf(error, *each->m_parts->app) : std::nullopt;
        if (problem)
            return each->refuse(*problem);
    }
    return refuse(problemOf(error, *m_parts->app).value_or(error.what()));
}

/// What is wrong with the first word that is none of the options and subcommands.
std::optional<std::string> CommandLineParser::leftOver() const {
    const std::vector<std::string> words = m_parts->app->remaining();
    if (words.empty())
        return std::nullopt;
    const std::string word = words.front().substr(0, words.front().find('='));
    std::vector<std::string> known;
    for (const CLI::Option* option : m_parts->app->get_options())
        known.push_back("--" + option->get_lnames().front());
    for (const auto& each : m_parts->subcommands)
        known.push_back(each->m_parts->app->get_name());
    if (m_parts->command != nullptr && !word.starts_with('-'))
        return inQuotes(word) + " is not expected: the command goes behind --";
    return (word.starts_with('-') ? "no such option: " + inQuotes(word) : inQuotes(word) + " is not expected") +
           didYouMean(word, known);
}

int CommandLineParser::refuse(const std::string& problem) const {
    const CLI::App& app = *m_parts->app;
    const std::string program = program_invocation_short_name;
    const std::string help = program + (m_parts->root ? "" : " " + app.get_name()) + " --help";
    std::fprintf(stderr, "%s: %s\nTry '%s'.\n", program.c_str(), problem.c_str(), help.c_str());
    return exit_status::kUsageError;
}

int printResult(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0)
        return exit_status::kSuccess;
    std::fprintf(stderr, "%s: cannot write to stdout: %s\n", program_invocation_short_name, std::strerror(errno));
    return exit_status::kFailure;
}

} // namespace velmora::desktop
