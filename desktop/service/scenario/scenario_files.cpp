#include "service/scenario/scenario_files.h"

#include "base/file_descriptor.h"
#include "base/nearest_word.h"
#include "service/scenario/json_node.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <stdexcept>
#include <vector>

namespace velmora::desktop {

namespace fs = std::filesystem;

namespace {

constexpr const char* kExtension = ".json";
constexpr std::size_t kLongestScenario = 1 << 20;

/// Found relative to the running program, so that it works in the build folder and when installed.
fs::path scenarioFolder() {
    const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
    return (programs / ZUV_SCENARIOS_FROM_PROGRAMS).lexically_normal();
}

[[noreturn]] void fail(const fs::path& file, const std::string& reason) {
    throw std::runtime_error(fmt::format("{}: {}", file.string(), reason));
}

std::vector<fs::path> suppliedScenarios() {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(scenarioFolder())) {
        if (entry.path().extension() == kExtension)
            files.push_back(entry.path());
    }
    return files;
}

/// A similar name, if the file would be one of the supplied scenarios.
std::string suggestionFor(const fs::path& file) {
    if (file.parent_path() != scenarioFolder())
        return "";
    std::vector<std::string> names;
    for (const fs::path& each : suppliedScenarios())
        names.push_back(each.stem());
    return didYouMean(file.stem(), names);
}

/// Neither waits for a writer nor reads without end, whatever the file is.
std::string readText(const fs::path& file) {
    const FileDescriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (descriptor.get() < 0)
        fail(file, std::strerror(errno) + (errno == ENOENT ? suggestionFor(file) : ""));
    struct stat status = {};
    if (fstat(descriptor.get(), &status) != 0)
        fail(file, std::strerror(errno));
    if (!S_ISREG(status.st_mode))
        fail(file, S_ISDIR(status.st_mode) ? "is a folder" : "is not a regular file");
    std::string text;
    ssize_t size = 0;
    do {
        std::array<char, 4096> part{};
        size = read(descriptor.get(), part.data(), part.size());
        text.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        if (text.size() > kLongestScenario)
            fail(file, fmt::format("is longer than {} bytes", kLongestScenario));
    } while (size > 0);
    if (size < 0)
        fail(file, std::strerror(errno));
    return text;
}

} // namespace

fs::path scenarioFile(const std::string& given) {
    if (given.find('/') != std::string::npos || given.ends_with(kExtension))
        return fs::absolute(given);
    return scenarioFolder() / (given + kExtension);
}

Scenario loadScenario(const fs::path& file) {
    const std::string text = readText(file);
    try {
        return parseScenario(text);
    } catch (const ValidationError& error) {
        fail(file, error.what());
    }
}

std::string scenarioList() {
    std::map<std::string, std::string> descriptions;
    std::size_t width = 0;
    for (const fs::path& file : suppliedScenarios()) {
        const std::string name = file.stem();
        descriptions[name] = loadScenario(file).description;
        width = std::max(width, name.size());
    }
    std::string list;
    for (const auto& [name, description] : descriptions)
        list += fmt::format("{:{}}  {}\n", name, width, description);
    return list;
}

} // namespace velmora::desktop
