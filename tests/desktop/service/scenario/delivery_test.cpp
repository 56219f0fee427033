#include "service/protocol/event.h"
#include "service/scenario/delivery.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <algorithm>

namespace velmora::desktop {
namespace {

constexpr std::size_t kSize = 4096;

const std::vector<std::string> kEvent{"started",      "200", "ses-1", "obj-1",      "", "",
                                      "http://local", "",    "OK",    "main_video", ""};

Json::Value parsed(const std::string& text) {
    Json::Value root;
    EXPECT_TRUE(Json::Reader().parse(text, root)) << text;
    return root;
}

bool isJson(const std::string& text) {
    Json::Value root;
    return Json::Reader().parse(text, root);
}

TEST(Delivery, LeavesTheEventAsItIs) {
    EXPECT_EQ(deliveredValues(kEvent, {}), kEvent);
    EXPECT_EQ(memoryText(kEvent, MemoryForm::Whole, kSize), toJson(kEvent));
}

TEST(Delivery, ReplacesEntries) {
    Delivery delivery;
    delivery.replaced = {{1, "500"}, {10, "last"}};
    std::vector<std::string> expected = kEvent;
    expected[1] = "500";
    expected[10] = "last";
    EXPECT_EQ(deliveredValues(kEvent, delivery), expected);
}

TEST(Delivery, CutsTheListWithWhatIsReplacedInIt) {
    Delivery delivery;
    delivery.replaced = {{1, "500"}, {9, "advertisement"}};
    delivery.entries = 2;
    EXPECT_EQ(deliveredValues(kEvent, delivery), (std::vector<std::string>{"started", "500"}));
    delivery.entries = 0;
    EXPECT_TRUE(deliveredValues(kEvent, delivery).empty());
}

TEST(Delivery, LeavesTextThatIsNoJson) {
    EXPECT_FALSE(isJson(memoryText(kEvent, MemoryForm::NotJson, kSize)));
}

TEST(Delivery, TearsTheTextInItsMiddle) {
    const std::string whole = toJson(kEvent);
    const std::string torn = memoryText(kEvent, MemoryForm::Torn, kSize);
    EXPECT_EQ(torn, whole.substr(0, whole.size() / 2));
    EXPECT_FALSE(isJson(torn));
}

TEST(Delivery, FillsTheRegionWithWhatDoesNotFit) {
    const std::string text = memoryText(kEvent, MemoryForm::Oversize, kSize);
    EXPECT_EQ(text.size(), kSize);
    EXPECT_EQ(text.find('\0'), std::string::npos);
    EXPECT_TRUE(text.starts_with(toJson(kEvent).substr(0, toJson(kEvent).size() - 1)));
    EXPECT_FALSE(isJson(text));
}

TEST(Delivery, MakesTheRootAnArray) {
    const Json::Value root = parsed(memoryText(kEvent, MemoryForm::RootArray, kSize));
    ASSERT_TRUE(root.isArray());
    ASSERT_EQ(root.size(), 11U);
    EXPECT_EQ(root[0].asString(), "started");
    EXPECT_EQ(root[9].asString(), "main_video");
}

TEST(Delivery, NestsTheDetail) {
    const Json::Value root = parsed(memoryText(kEvent, MemoryForm::NestedMember, kSize));
    EXPECT_EQ(root["0"].asString(), "started");
    ASSERT_TRUE(root["8"].isObject());
    EXPECT_EQ(root["8"]["text"].asString(), "OK");
}

TEST(Delivery, NestsDeeperThanReadersTake) {
    const std::string text = memoryText(kEvent, MemoryForm::DeepNesting, kSize);
    EXPECT_LT(text.size(), kSize);
    EXPECT_EQ(std::count(text.begin(), text.end(), '['), 1500);
    EXPECT_EQ(std::count(text.begin(), text.end(), ']'), 1500);
    EXPECT_THROW(isJson(text), Json::Exception);
}

TEST(Delivery, LeavesNoZeroByteBehindAWholeText) {
    const std::string text = memoryText(kEvent, MemoryForm::NoZeroByte, kSize);
    EXPECT_EQ(text.size(), kSize);
    EXPECT_EQ(text.find('\0'), std::string::npos);
    EXPECT_EQ(parsed(text), parsed(toJson(kEvent)));
}

} // namespace
} // namespace velmora::desktop
