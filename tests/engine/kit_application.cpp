// An application in a process of its own: makes a session and prints "ready", waits until it can lock the file GATE,
// starts MEDIUM, prints the local URL or the error as a line, and plays until it is killed.
//
//     kit_application GATE MEDIUM
#include "zuv_media_session.h"
#include "zuv_poll_loop.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>

#include <iostream>
#include <string>

using namespace velmora;

int main(int, char** arguments) {
    PollLoop loop;
    SessionOptions options;
    options.library = ZUV_MEDIA_PROXY_LIBRARY;
    MediaSession session(loop.post(), {}, options);
    std::cout << "ready" << std::endl;
    const int gate = open(arguments[1], O_RDONLY | O_CLOEXEC);
    flock(gate, LOCK_SH);
    session.start(arguments[2], {}, [](const Outcome<std::string>& outcome) {
        std::cout << (outcome ? outcome.value() : outcome.error().detail) << std::endl;
    });
    pollfd waited{loop.descriptor(), POLLIN, 0};
    while (poll(&waited, 1, -1) > 0)
        loop.dispatch();
}
