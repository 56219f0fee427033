// What the tests replace of the C and C++ run time and of libuuid: at link time the random bytes, malloc, and
// printf, whose lines go into the journal too; and for the whole process operator new and delete.
#ifndef ZUV_TESTS_CLIENT_RUNTIME_REPLACEMENTS_H
#define ZUV_TESTS_CLIENT_RUNTIME_REPLACEMENTS_H

#include <array>
#include <cstddef>
#include <functional>
#include <string>

namespace velmora::test {

using UuidBytes = std::array<unsigned char, 16>;

/// From here on the nth drawing of random bytes (from 1) gives fifteen zeros and n.
void numberUuids();
/// From here on every drawing gives these bytes.
void fixUuid(const UuidBytes& bytes);
/// Called within every drawing of numbered or fixed bytes.
extern std::function<void()> duringUuid;
/// The drawings since the random bytes are not random any more.
int uuidsDrawn();
/// The session identifier that the nth numbered drawing makes.
std::string sessionId(int nth);

/// From here on counts the operator new calls of this size that the client makes.
void countNew(std::size_t size);
int newCalls();

/// What operator new, and malloc for a UUID's text, gave out and has not come back, in the whole process.
std::size_t liveAllocations();

/// How the pause stub's line reads in the journal.
std::string printedLine(const std::string& file, const std::string& function);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_RUNTIME_REPLACEMENTS_H
