#include "trace/recorder/recording_writer.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <new>

namespace velmora::trace {
namespace {

constexpr int kVersion = 1;

/// How often a process looks whether another one has begun a new file, and how often at least while it writes one half
/// of the limit alone.
constexpr uint64_t kCheckInterval = 10'000'000; // nanoseconds
constexpr int64_t kChecksPerHalf = 16;

/// The process's writer, for a fork.
RecordingWriter* writerOfProcess = nullptr;

/// Of a signal handler that interrupts its own thread in here, only the line is lost.
constexpr pthread_mutex_t kUnlocked = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;

uint64_t wallClock() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000'000U + static_cast<uint64_t>(time.tv_nsec);
}

constexpr int64_t kUnlimited = std::numeric_limits<int64_t>::max();

int64_t largestFile() {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    return limit.rlim_cur == RLIM_INFINITY ? kUnlimited : static_cast<int64_t>(limit.rlim_cur);
}

/// The same file when the process changes its folder.
std::string absolute(const std::string& file) {
    std::array<char, PATH_MAX> folder{};
    if (file.empty() || file.front() == '/' || getcwd(folder.data(), folder.size()) == nullptr)
        return file;
    return folder.data() + ("/" + file);
}

int openFile(const std::string& file) {
    return ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, S_IRUSR | S_IWUSR);
}

int moveHigh(int descriptor) {
    const int high = fcntl(descriptor, F_DUPFD_CLOEXEC, kHighDescriptor);
    if (high < 0)
        return descriptor;
    close(descriptor);
    return high;
}

/// The process's arguments, each with a zero byte at its end.
/// @throws std::bad_alloc
std::string commandLine() {
    std::string text;
    const int file = ::open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    std::array<char, 1024> part{};
    for (ssize_t size = 0; (size = read(file, part.data(), part.size())) > 0;)
        text.append(part.data(), static_cast<std::size_t>(size));
    close(file);
    return text;
}

/// As many arguments as there is memory for.
void addCommandLine(JsonLine& line) noexcept {
    line.beginTexts("args");
    try {
        const std::string arguments = commandLine();
        for (std::size_t begin = 0; begin < arguments.size();) {
            const std::string_view argument(arguments.c_str() + begin);
            line.addText(argument);
            begin += argument.size() + 1;
        }
    } catch (const std::bad_alloc&) {
    }
    line.endTexts();
}

uint64_t limitOf(const char* text) {
    if (text == nullptr)
        return kDefaultLimit;
    uint64_t limit = 0;
    const char* const end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, limit);
    if (error == std::errc() && rest == end && limit >= kLowestLimit)
        return limit;
    std::fprintf(stderr, "%s=%s: not a number of bytes from %llu; using %llu\n", kLimitVariable, text,
                 static_cast<unsigned long long>(kLowestLimit), static_cast<unsigned long long>(kDefaultLimit));
    return kDefaultLimit;
}

RecordingWriter& newWriterOfProcess(const char* role) {
    const char* const file = std::getenv(kFileVariable);
    if (file == nullptr)
        return *new RecordingWriter("", kDefaultLimit, role);
    return *new RecordingWriter(file, limitOf(std::getenv(kLimitVariable)), role);
}

} // namespace

RecordingWriter::RecordingWriter(const std::string& file, uint64_t limit, const char* role)
    : m_file(absolute(file)), m_oldFile(m_file + ".old"), m_half(static_cast<int64_t>(limit / 2)), m_role(role),
      m_mutex(kUnlocked), m_state(file.empty() ? State::givenUp : State::unopened), m_started(now()),
      m_largest(largestFile()) {
    [[maybe_unused]] static const int isWatched = pthread_atfork(nullptr, nullptr, onFork);
    writerOfProcess = this;
}

RecordingWriter::~RecordingWriter() {
    writerOfProcess = nullptr;
    if (m_descriptor >= 0)
        close(m_descriptor);
}

RecordingWriter& RecordingWriter::ofProcess(const char* role) {
    static RecordingWriter& writer = newWriterOfProcess(role);
    return writer;
}

// In the new process, whose only thread may have been forked while another held the mutex. The new process opens the
// file for itself, because a lock of a file belongs to all who share its opening.
void RecordingWriter::onFork() {
    RecordingWriter* const writer = writerOfProcess;
    if (writer == nullptr)
        return;
    const Unnoticed recording;
    writer->m_mutex = kUnlocked;
    writer->m_started = now();
    writer->m_lost = 0;
    writer->m_hasBegun = false;
    writer->m_isContinued = false;
    if (writer->m_state == State::opened) {
        close(writer->m_descriptor);
        writer->m_state = State::unopened;
    }
}

void RecordingWriter::begin() noexcept {
    const Unnoticed recording;
    if (pthread_mutex_lock(&m_mutex) != 0)
        return;
    if (m_state == State::unopened)
        isReady(now());
    pthread_mutex_unlock(&m_mutex);
}

void RecordingWriter::write(JsonLine& line) noexcept {
    const Unnoticed recording;
    if (pthread_mutex_lock(&m_mutex) != 0)
        return;
    writeLocked(line);
    pthread_mutex_unlock(&m_mutex);
}

void RecordingWriter::end() noexcept {
    const Unnoticed recording;
    if (pthread_mutex_lock(&m_mutex) != 0)
        return;
    if (m_hasBegun || m_isContinued) {
        JsonLine line("end");
        writeLocked(line);
    }
    m_state = State::ended;
    pthread_mutex_unlock(&m_mutex);
}

void RecordingWriter::writeLocked(JsonLine& line) {
    if (m_state == State::givenUp || m_state == State::ended)
        return;
    const bool isWritten = isReady(line.time()) && writeLost() && append(line.finish());
    if (!isWritten && m_state == State::opened)
        ++m_lost;
}

/// Whether the file is open, is not full, and has the process's first line.
bool RecordingWriter::isReady(uint64_t time) {
    if (m_state == State::unopened && !openFirst())
        return false;
    if (isCheckDue() && !checkFile())
        return false;
    return m_hasBegun || writeBegin(time);
}

/// Not for each line: to look takes a third as long as to write.
bool RecordingWriter::isCheckDue() const {
    return m_descriptor < 0 || m_size >= m_nextCheck || now() - m_checked >= kCheckInterval;
}

/// Goes on in another file when this one is full, was replaced, or is not the process's any more.
bool RecordingWriter::checkFile() {
    struct stat status = {};
    if (m_descriptor < 0 || fstat(m_descriptor, &status) != 0 || !isOurs(status.st_dev, status.st_ino)) {
        m_descriptor = -1; // closed by the program, and perhaps another file's by now
        return open();
    }
    if (status.st_nlink == 0 || status.st_size >= m_half)
        return makeRoom();
    rememberCheck(status.st_size);
    return true;
}

void RecordingWriter::rememberCheck(int64_t size) {
    m_size = size;
    m_checked = now();
    m_nextCheck = m_largest == kUnlimited ? std::min(size + m_half / kChecksPerHalf, m_half) : 0;
}

bool RecordingWriter::openFirst() {
    m_descriptor = -1;
    const bool isOpen = open();
    m_state = isOpen ? State::opened : State::givenUp;
    if (!isOpen)
        dprintf(STDERR_FILENO, "nothing is recorded: cannot write %s: %s\n", m_file.c_str(), std::strerror(errno));
    return isOpen;
}

/// Opens the file, in place of the one that is open.
bool RecordingWriter::open() {
    const int descriptor = openFile(m_file);
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        close(descriptor);
        errno = EINVAL;
        return false;
    }
    if (m_descriptor < 0) {
        m_descriptor = moveHigh(descriptor);
    } else {
        dup3(descriptor, m_descriptor, O_CLOEXEC);
        close(descriptor);
    }
    m_device = status.st_dev;
    m_number = status.st_ino;
    rememberCheck(status.st_size);
    m_isContinued = m_isContinued || m_hasBegun;
    m_hasBegun = false;
    m_isTorn = false;
    return true;
}

bool RecordingWriter::isOurs(uint64_t device, uint64_t number) const {
    return device == m_device && number == m_number;
}

/// Goes on in a new file, which another process may have made.
bool RecordingWriter::makeRoom() {
    if (flock(m_descriptor, LOCK_EX | LOCK_NB) != 0)
        return true; // another process is making room: this line still goes to the old file
    const bool isAside = moveAside();
    const bool isOpen = isAside && open();
    if (!isOpen)
        flock(m_descriptor, LOCK_UN);
    return isOpen;
}

/// @return whether the path no longer names the open file.
bool RecordingWriter::moveAside() const {
    struct stat status = {};
    if (stat(m_file.c_str(), &status) != 0 || !isOurs(status.st_dev, status.st_ino))
        return true;
    return std::rename(m_file.c_str(), m_oldFile.c_str()) == 0;
}

bool RecordingWriter::writeBegin(uint64_t time) {
    const uint64_t begun = m_isContinued ? time : std::min(m_started, time);
    JsonLine line("begin", begun);
    line.number("version", kVersion);
    line.number("wall", static_cast<int64_t>(wallClock() - (now() - begun)));
    line.text("program", program_invocation_short_name);
    addCommandLine(line);
    line.text("role", m_role);
    if (m_isContinued)
        line.isTrue("again");
    m_hasBegun = append(line.finish());
    return m_hasBegun;
}

bool RecordingWriter::writeLost() {
    if (m_lost == 0)
        return true;
    JsonLine line("lost");
    line.number("n", m_lost);
    if (!append(line.finish()))
        return false;
    m_lost = 0;
    return true;
}

// The system call itself is no point of cancellation, and EINTR does not occur with files.
bool RecordingWriter::append(std::string_view bytes) {
    if (bytes.empty() || m_size > m_largest - static_cast<int64_t>(bytes.size()) - 1)
        return false;
    if (m_isTorn && syscall(SYS_write, m_descriptor, "\n", 1) != 1)
        return false;
    m_isTorn = false;
    const auto written = syscall(SYS_write, m_descriptor, bytes.data(), bytes.size());
    m_size += std::max(written, 0L);
    const bool isWhole = written == static_cast<long>(bytes.size());
    m_isTorn = written > 0 && !isWhole;
    if (!isWhole)
        m_nextCheck = 0;
    return isWhole;
}

} // namespace velmora::trace
