#include "service/media/definitions.h"

#include "base/compact_json.h"

#include <json/value.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace velmora::desktop {

namespace {

/// The height in a file name of the form NAME.<height>p.EXT.
std::optional<int> heightInName(const std::filesystem::path& file, const std::filesystem::path& medium) {
    const std::string name = file.filename().native();
    const std::string before = medium.stem().native() + ".";
    const std::string after = "p" + medium.extension().native();
    if (name.size() <= before.size() + after.size() || !name.starts_with(before) || !name.ends_with(after))
        return std::nullopt;
    const auto digits = std::string_view(name).substr(before.size(), name.size() - before.size() - after.size());
    int height = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), height);
    if (error != std::errc() || end != digits.data() + digits.size() || height <= 0)
        return std::nullopt;
    return height;
}

} // namespace

std::vector<QualityFile> qualityFiles(const std::filesystem::path& medium) {
    std::vector<QualityFile> files;
    std::error_code error;
    std::filesystem::directory_iterator entry(medium.parent_path(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::optional<int> height = heightInName(entry->path(), medium);
        std::error_code gone;
        if (height && entry->is_regular_file(gone))
            files.push_back({*height, entry->path()});
    }
    std::sort(files.begin(), files.end(),
              [](const QualityFile& a, const QualityFile& b) { return a.height < b.height; });
    return files;
}

std::string definitionsText(const std::vector<Definition>& definitions) {
    Json::Value list(Json::arrayValue);
    for (const Definition& definition : definitions) {
        Json::Value entry;
        entry["definition"] = definition.name;
        entry["url"] = definition.url;
        list.append(entry);
    }
    return compactJson(list);
}

} // namespace velmora::desktop
