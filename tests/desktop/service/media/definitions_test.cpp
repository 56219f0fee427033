#include "service/media/definitions.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <json/reader.h>

namespace velmora::desktop {
namespace {

class QualityFilesTest : public testing::Test {
protected:
    std::vector<int> heightsBeside(const std::string& medium) {
        std::vector<int> heights;
        for (const QualityFile& quality : qualityFiles(m_folder.path() / medium))
            heights.push_back(quality.height);
        return heights;
    }

    TemporaryFolder m_folder;
};

TEST_F(QualityFilesTest, AreTheSiblingsByHeight) {
    for (const char* name : {"film.webm", "film.1080p.webm", "film.240p.webm", "film.720p.webm"})
        addFile(m_folder, name);
    EXPECT_EQ(heightsBeside("film.webm"), (std::vector{240, 720, 1080}));
    EXPECT_EQ(qualityFiles(m_folder.path() / "film.webm").at(0).file, m_folder.path() / "film.240p.webm");
}

TEST_F(QualityFilesTest, AreNoOtherFiles) {
    for (const char* name : {"film.webm", "film.p.webm", "film.-240p.webm", "film.0p.webm", "film.240.webm",
                             "film.240p.mp4", "film.240pp.webm", "film.x240p.webm", "film2.240p.webm",
                             "other.240p.webm", "film.99999999999p.webm", "film.webm.240p.webm"})
        addFile(m_folder, name);
    std::filesystem::create_directory(m_folder.path() / "film.480p.webm");
    EXPECT_EQ(heightsBeside("film.webm"), std::vector<int>{});
}

TEST_F(QualityFilesTest, WorkWithoutAnExtension) {
    for (const char* name : {"film", "film.240p"})
        addFile(m_folder, name);
    EXPECT_EQ(heightsBeside("film"), std::vector{240});
}

TEST_F(QualityFilesTest, AreNoneWhereThereIsNoFolder) {
    EXPECT_EQ(heightsBeside("nowhere/film.webm"), std::vector<int>{});
    EXPECT_TRUE(qualityFiles("").empty());
}

TEST(DefinitionsText, ListsNameAndUrl) {
    EXPECT_EQ(
        definitionsText({{"240p", "http://127.0.0.1:1/a"}, {"audio", "http://127.0.0.1:1/b"}}),
        R"([{"definition":"240p","url":"http://127.0.0.1:1/a"},{"definition":"audio","url":"http://127.0.0.1:1/b"}])");
}

} // namespace
} // namespace velmora::desktop
