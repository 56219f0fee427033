// The built shared object in a process with settings of its own: a locale that writes numbers with a comma, and a timer
// whose signals interrupt every wait. Both belong to the application, and the client has to work with either.
#include "client/recording_platform.h"
#include "support/loaded_library.h"
#include "support/processes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace velmora::test {
namespace {

using std::chrono::milliseconds;

// ---- Locale

/// A locale "comma", whose decimal point is one. Made here, because a machine may have none installed.
class CommaLocale {
public:
    CommaLocale() {
        std::string name = std::filesystem::temp_directory_path() / "zuv-locale-XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        m_folder = name;
        std::ofstream(m_folder / "source")
            << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n";
        // It complains of the categories that are not defined here, and makes them nevertheless (-c).
        m_output = runInShell("localedef -c -f ANSI_X3.4-1968 -i " + name + "/source " + name + "/comma").output;
        setenv("LOCPATH", name.c_str(), 1);
    }
    ~CommaLocale() { std::filesystem::remove_all(m_folder); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    /// @return whether the process now has this locale.
    bool set() const { return std::setlocale(LC_NUMERIC, "comma") != nullptr; }
    /// What localedef said.
    const std::string& output() const { return m_output; }

private:
    std::filesystem::path m_folder;
    std::string m_output;
};

std::string printed(double value) {
    std::array<char, 32> text;
    return {text.data(), static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%f", value))};
}

/// Sends every command that carries numbers, and keeps them.
class Numbers : public ::testing::Test {
protected:
    void sendAll() {
        for (const char* name : {"start", "stop", "seek", "preload"})
            bus().onCommand(name, 1, [this](const Strings& command) { m_commands.push_back(command); });
        const std::shared_ptr<ZUVMediaProxyInterface> proxy = m_library.manager()->createNewZUVMediaProxy("movie");
        proxy->start("url", 1);
        proxy->seek(3.25, "");
        proxy->preload(12.5, "url", "", "");
        proxy->stop();
    }
    /// The field of every command that was sent.
    Strings sent(std::size_t field) const {
        Strings values;
        for (const Strings& command : m_commands)
            values.push_back(command.at(field));
        return values;
    }

private:
    const LoadedLibrary m_library{ZUV_MEDIA_PROXY_LIBRARY};
    std::vector<Strings> m_commands;
};

TEST_F(Numbers, HaveAPointInALocaleWithAComma) {
    const CommaLocale locale;
    if (!locale.set())
        GTEST_SKIP() << "localedef made no locale: " << locale.output();
    ASSERT_EQ(printed(1.5), "1,500000");

    sendAll();

    EXPECT_EQ(sent(5), (Strings{"", "3.250000", "12.500000", ""}));
    const Strings times = sent(4);
    for (const std::string& time : times)
        EXPECT_EQ(time.find_first_not_of("0123456789."), std::string::npos) << time;
    EXPECT_EQ(printed(1.5), "1,500000"); // the client leaves the application's locale alone
}

// ---- Signals

volatile std::sig_atomic_t signals = 0;

/// Interrupts this process every 5 ms with a signal that it handles.
class Interruptions {
public:
    Interruptions() {
        struct sigaction action = {};
        action.sa_handler = [](int) { signals = signals + 1; };
        sigaction(SIGUSR1, &action, nullptr);
        sigevent event = {};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGUSR1;
        if (timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0)
            throw std::runtime_error("no timer");
        constexpr timespec interval{0, 5'000'000};
        const itimerspec times{interval, interval};
        timer_settime(m_timer, 0, &times, nullptr);
    }
    ~Interruptions() { timer_delete(m_timer); }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

private:
    timer_t m_timer;
};

template <typename Action>
milliseconds timeOf(Action action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

TEST(Signals, DoNotShortenTheWaitForAnAnswer) {
    const LoadedLibrary library(ZUV_MEDIA_PROXY_LIBRARY);
    const std::shared_ptr<ZUVMediaProxyInterface> proxy = library.manager()->createNewZUVMediaProxySync("movie");
    const Interruptions interruptions;

    EXPECT_GE(timeOf([&] { proxy->start("url", 1); }), milliseconds(250));

    EXPECT_GE(signals, 10);
}

TEST(Signals, DoNotEndTheLivenessCheck) {
    const LoadedLibrary library(ZUV_MEDIA_PROXY_LIBRARY);
    library.manager();
    const auto check = library.symbol<bool()>("_ZN7velmora29ZUVMediaProxyManagerInterface20checkZUVServiceAliveEv");
    const Interruptions interruptions;

    EXPECT_GE(timeOf([&] { EXPECT_FALSE(check()); }), milliseconds(200));

    EXPECT_GE(signals, 10);
}

} // namespace
} // namespace velmora::test
