// The same with GLib's main loop.
#include <zuv_glib_loop.h>

#include <iostream>

int main(int, char** arguments) {
    velmora::MediaSession session(velmora::postToGLib());
    bool hasEnded = false;
    session.start(arguments[1], {}, [&](const velmora::Outcome<std::string>& outcome) {
        std::cout << (outcome ? outcome.value() : outcome.error().detail) << '\n';
        hasEnded = true;
    });
    while (!hasEnded)
        g_main_context_iteration(nullptr, TRUE);
}
