// An example player: what a web engine does with the media proxy client, on a timeline.
#include "medium.h"
#include "player.h"
#include "proxy_library.h"
#include "spelling.h"
#include "timeline.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace {

constexpr int kUsageError = 2;

struct Arguments {
    std::string medium;
    std::string advertisement; ///< empty: the medium; likewise the next title
    std::string nextTitle;
    std::string viewer;
    std::string camera;
    std::string library = "libzuv_media_proxy.so.1";
    double seekSeconds = 1.0;
    bool synchronous = false;
};

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

/// What is wrong with a number of seconds; empty if it is right.
std::string complaintAboutSeconds(const std::string& text) {
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    const bool right = !text.empty() && *end == '\0' && std::isfinite(seconds) && seconds >= 0;
    return right ? "" : quoted(text) + " is not a number of seconds from 0";
}

void addOptions(CLI::App& app, Arguments& arguments) {
    // What is left over is examined after the parse: CLI11 would complain of a missing MEDIUM first.
    app.allow_extras();
    app.set_version_flag("--version", ZUV_VERSION, "Print the version and exit")->disable_flag_override();
    app.add_option("MEDIUM", arguments.medium, "The main video: a file, or a file:, http: or https: URL");
    app.add_option("--ad", arguments.advertisement, "The advertisement (default: the main video)")->type_name("MEDIUM");
    app.add_option("--next", arguments.nextTitle, "The next title (default: the main video)")->type_name("MEDIUM");
    app.add_option("--seek", arguments.seekSeconds, "Where to seek to")
        ->type_name("SECONDS")
        ->check(CLI::Validator(complaintAboutSeconds, ""))
        ->capture_default_str();
    app.add_flag("--sync", arguments.synchronous, "Synchronous mode: every request waits for its answer")
        ->disable_flag_override();
    app.add_option("--viewer", arguments.viewer,
                   "Have a command show the main video: it runs with the local URL as its last argument, and the "
                   "programme goes on when it ends")
        ->type_name("COMMAND");
    app.add_option("--camera", arguments.camera,
                   "Have a command take pictures of the main video, the advertisement, and the main video after the "
                   "seek: it runs with a title, the position in seconds and the local URL as its last arguments")
        ->type_name("COMMAND");
    app.add_option("--library", arguments.library, "The media proxy library to load")
        ->type_name("FILE")
        ->capture_default_str();
    app.footer("Exits with 0 when all of it happened, with 1 when not, with 2 when the command line is wrong; the\n"
               "last line on stderr then has the reason.");
}

std::string needsValue(const CLI::Option& option) {
    return option.get_name() + " needs a value: " + option.get_type_name();
}

/// What is wrong with the option that CLI11's error begins with; a flag is named there without its dashes.
std::string problemOf(const CLI::ParseError& error, const CLI::App& app) {
    const std::string text = error.what();
    const std::string name = text.substr(0, text.find_first_of(": "));
    const CLI::Option* option = app.get_option_no_throw(name.rfind("--", 0) == 0 ? name : "--" + name);
    if (option == nullptr || dynamic_cast<const CLI::ValidationError*>(&error) != nullptr)
        return text;
    if (option->get_expected_max() == 0)
        return option->get_name() + " takes no value";
    return option->count() > 1 ? option->get_name() + " is given more than once" : needsValue(*option);
}

/// @throws UsageError for a word that is left over.
void checkLeftOver(const CLI::App& app, const std::vector<std::string>& options) {
    for (const std::string& word : app.remaining()) {
        if (word == "--") // before a file whose name begins with a dash
            continue;
        const std::string name = word.substr(0, word.find('='));
        if (word.rfind('-', 0) == 0)
            throw UsageError("no such option: " + quoted(name) + suggestion(name, options));
        throw UsageError(quoted(word) + " is not expected: one MEDIUM is enough");
    }
}

/// @throws UsageError if something is missing or left over.
void checkArguments(const CLI::App& app, const Arguments& arguments) {
    std::vector<std::string> options;
    for (const CLI::Option* option : app.get_options()) {
        if (option->nonpositional())
            options.push_back("--" + option->get_lnames().front());
    }
    for (const CLI::Option* option : app.get_options()) {
        const auto isOption = [&](const auto& value) { return std::count(options.begin(), options.end(), value) > 0; };
        if (std::any_of(option->results().begin(), option->results().end(), isOption))
            throw UsageError(needsValue(*option));
    }
    checkLeftOver(app, options);
    if (arguments.medium.empty())
        throw UsageError("MEDIUM is required");
}

Programme programmeOf(const Arguments& arguments) {
    Programme programme;
    programme.mainVideo = resolveMedium(arguments.medium);
    programme.advertisement =
        arguments.advertisement.empty() ? programme.mainVideo : resolveMedium(arguments.advertisement);
    programme.nextTitle = arguments.nextTitle.empty() ? programme.mainVideo : resolveMedium(arguments.nextTitle);
    programme.viewer = arguments.viewer;
    programme.camera = arguments.camera;
    programme.seekSeconds = arguments.seekSeconds;
    return programme;
}

void play(const Arguments& arguments) {
    const Programme programme = programmeOf(arguments);
    const Timeline timeline;
    timeline.note(Timeline::Clock::now(), "player", "loads " + arguments.library);
    Player player(loadProxyLibrary(arguments.library), timeline, arguments.synchronous);
    player.play(programme);
    timeline.show("done");
}

int complain(const char* reason, int status) {
    std::fprintf(stderr, "zuv-player: %s\n", reason);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Plays a main video, an advertisement break, a seek and a preloaded next title through the media\n"
                 "proxy client, and checks that the bytes behind the local URLs are the media's.");
    Arguments arguments;
    addOptions(app, arguments);
    try {
        app.parse(argc, argv);
        checkArguments(app, arguments);
        play(arguments);
        return EXIT_SUCCESS;
    } catch (const CLI::Success& request) { // --help, --version
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        return complain(problemOf(error, app).c_str(), kUsageError);
    } catch (const UsageError& error) {
        return complain(error.what(), kUsageError);
    } catch (const std::exception& error) {
        return complain(error.what(), EXIT_FAILURE);
    }
}
