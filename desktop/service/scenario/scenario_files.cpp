#include "service/scenario/scenario_files.h"

#include "service/scenario/json_node.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace velmora::desktop {

namespace fs = std::filesystem;

namespace {

constexpr const char* kExtension = ".json";

/// Found relative to the running program, so that it works in the build folder and when installed.
fs::path scenarioFolder() {
    const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
    return (programs / ZUV_SCENARIOS_FROM_PROGRAMS).lexically_normal();
}

std::string readText(const fs::path& file) {
    std::error_code error;
    if (fs::is_directory(file, error))
        throw std::runtime_error(fmt::format("{}: is a folder", file.string()));
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (stream.peek() != std::ifstream::traits_type::eof())
        text << stream.rdbuf();
    if (!stream.is_open() || stream.bad())
        throw std::runtime_error(fmt::format("{}: {}", file.string(), std::strerror(errno)));
    return text.str();
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
        throw std::runtime_error(fmt::format("{}: {}", file.string(), error.what()));
    }
}

std::string scenarioList() {
    std::map<std::string, std::string> descriptions;
    std::size_t width = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(scenarioFolder())) {
        if (entry.path().extension() != kExtension)
            continue;
        const std::string name = entry.path().stem();
        descriptions[name] = loadScenario(entry.path()).description;
        width = std::max(width, name.size());
    }
    std::string list;
    for (const auto& [name, description] : descriptions)
        list += fmt::format("{:{}}  {}\n", name, width, description);
    return list;
}

} // namespace velmora::desktop
