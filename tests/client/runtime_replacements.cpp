#include "client/runtime_replacements.h"

#include "client/failing_calls.h"
#include "client/journal.h"

#include <uuid/uuid.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string_view>

namespace velmora::test {

std::function<void()> duringUuid = [] {};

namespace {

enum class Uuids { Random, Numbered, Fixed };
Uuids uuids = Uuids::Random;
UuidBytes fixedUuid = {};
int drawn = 0;

constexpr std::size_t kUuidBufferSize = 256;
std::size_t countedSize = 0;
std::atomic<int> countedCalls = 0;
std::atomic<std::size_t> live = 0;
std::atomic<void*> uuidBuffer = nullptr;

__attribute__((format(printf, 1, 0))) std::string describePrinted(const char* format, va_list arguments) {
    const std::filesystem::path file = va_arg(arguments, const char*);
    const std::string function = va_arg(arguments, const char*);
    const int line = va_arg(arguments, int);
    return "printf " + quoted(format) + " of " + file.filename().string() + " " + function + "()" +
           (line > 0 ? "" : " at line " + std::to_string(line));
}

// GoogleTest prints as well; only the client's one line is of interest, without the directories of its file.
__attribute__((format(printf, 1, 0))) int recordAndPrint(const char* format, va_list arguments) {
    const OwnWork work;
    if (std::string_view(format).find("NotImplemented") != std::string_view::npos) {
        va_list again;
        va_copy(again, arguments);
        journal().add(describePrinted(format, again));
        va_end(again);
    }
    return std::vprintf(format, arguments);
}

} // namespace

void numberUuids() {
    uuids = Uuids::Numbered;
    drawn = 0;
}

void fixUuid(const UuidBytes& bytes) {
    uuids = Uuids::Fixed;
    fixedUuid = bytes;
    drawn = 0;
}

int uuidsDrawn() {
    return drawn;
}

std::string sessionId(int nth) {
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), "ses-00000000-0000-0000-%016X", static_cast<unsigned>(nth));
    return text.data();
}

void countNew(std::size_t size) {
    countedSize = size;
    countedCalls = 0;
}

int newCalls() {
    return countedCalls;
}

std::size_t liveAllocations() {
    return live;
}

std::string printedLine(const std::string& file, const std::string& function) {
    return "printf " + quoted(" NotImplemented %s,%s,%d\n") + " of " + file + " " + function + "()";
}

} // namespace velmora::test

using namespace velmora::test;

extern "C" {

void __real_uuid_generate(uuid_t bytes);
void* __real_malloc(std::size_t size);
void __real_free(void* memory);

void __wrap_uuid_generate(uuid_t bytes) {
    if (uuids == Uuids::Random) {
        __real_uuid_generate(bytes);
        return;
    }
    ++drawn;
    duringUuid();
    UuidBytes numbered = {};
    numbered.back() = static_cast<unsigned char>(drawn);
    std::ranges::copy(uuids == Uuids::Fixed ? fixedUuid : numbered, bytes);
}

void* __wrap_malloc(std::size_t size) {
    if (size != kUuidBufferSize)
        return __real_malloc(size);
    if (isToFail(Call::UuidBuffer))
        return nullptr;
    ++live;
    return uuidBuffer = __real_malloc(size);
}

void __wrap_free(void* memory) {
    if (void* text = memory; text != nullptr && uuidBuffer.compare_exchange_strong(text, nullptr))
        --live;
    __real_free(memory);
}

__attribute__((format(printf, 1, 2))) int __wrap_printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = recordAndPrint(format, arguments);
    va_end(arguments);
    return length;
}

// What printf becomes in hardened code.
__attribute__((format(printf, 2, 3))) int __wrap___printf_chk(int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = recordAndPrint(format, arguments);
    va_end(arguments);
    return length;
}

} // extern "C"

// Not wrapped but replaced, so that the allocations of shared libraries are seen as well.
void* operator new(std::size_t size) {
    if (isToFail(Call::New))
        throw std::bad_alloc();
    if (size == countedSize && !isOwnWork())
        ++countedCalls;
    void* const memory = __real_malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    ++live;
    return memory;
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr)
        --live;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
