// A program that starts a medium through the engine kit and prints its local URL.
#include <poll.h>
#include <zuv_media_session.h>
#include <zuv_poll_loop.h>

#include <iostream>

int main(int, char** arguments) {
    velmora::PollLoop loop;
    velmora::MediaSession session(loop.post());
    bool hasEnded = false;
    session.start(arguments[1], {}, [&](const velmora::Outcome<std::string>& outcome) {
        std::cout << (outcome ? outcome.value() : outcome.error().detail) << '\n';
        hasEnded = true;
    });
    pollfd waited{loop.descriptor(), POLLIN, 0};
    while (!hasEnded && poll(&waited, 1, -1) > 0)
        loop.dispatch();
}
