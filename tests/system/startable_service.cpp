#include "system/startable_service.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace velmora::system_test {

namespace fs = std::filesystem;

StartableService::StartableService() {
    const fs::path programs = ZUV_PROGRAMS_DIR;
    fs::create_symlink(programs / "zuv-keeper", folder() / "zuv-keeper");
    fs::create_directory(folder() / "real");
    fs::create_symlink(programs / "zuv-service", folder() / "real" / "zuv-service");
}

void StartableService::nextPlays(const std::string& scenario) const {
    std::ofstream(folder() / "scenario.json") << scenario;
    const std::string path = folder().string();
    write("exec " + path + "/real/zuv-service --engine simulated --scenario " + path + "/scenario.json");
}

void StartableService::nextFails() const {
    write("exit 1");
}

// The temporary folder's name needs no quoting. Renamed into place, so that a shell which is reading the earlier script
// reads all of it.
void StartableService::write(const std::string& lastLine) const {
    const fs::path script = folder() / "next";
    std::ofstream(script) << "#!/bin/sh\necho >>" << (folder() / "starts").string() << "\n" << lastLine << "\n";
    fs::permissions(script, fs::perms::owner_all);
    fs::rename(script, folder() / "zuv-service");
}

int StartableService::starts() const {
    std::ifstream file(folder() / "starts");
    return static_cast<int>(std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n'));
}

} // namespace velmora::system_test
