// Records what the tests of a program do, and keeps the recordings of those that fail.
#ifndef ZUV_TESTS_SUPPORT_RECORDED_TESTS_H
#define ZUV_TESTS_SUPPORT_RECORDED_TESTS_H

namespace velmora {

/// Whether ZUV_TRACE_FILE is set: this process is part of a run that is recorded there or, if it is empty, not at all.
bool isRecorded();

/// Executes the program anew, with the recorder and GoogleTest's options, and waits for its end. If it fails, also by
/// a signal, its recording and a report of it stay in Testing/recordings of the build folder, under the name of the
/// test, and the last line of the output has their paths. Called before there are threads and before GoogleTest takes
/// its options.
/// @param arguments main()'s, ended by a null pointer.
/// @return the exit status, or 128 + n for signal n.
int runRecorded(char** arguments);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_RECORDED_TESTS_H
