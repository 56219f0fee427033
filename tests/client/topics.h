// The topics, stated once more on the side of the tests.
#ifndef ZUV_TESTS_CLIENT_TOPICS_H
#define ZUV_TESTS_CLIENT_TOPICS_H

namespace velmora::test {

inline constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
inline constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_TOPICS_H
