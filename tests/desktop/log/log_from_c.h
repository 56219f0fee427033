/* A function of C that logs, for tests in C++. */
#ifndef ZUV_TESTS_DESKTOP_LOG_LOG_FROM_C_H
#define ZUV_TESTS_DESKTOP_LOG_LOG_FROM_C_H

#ifdef __cplusplus
extern "C" {
#endif

/* Logs "from C: NUMBER" in two steps, as C code does. */
void logFromC(int number);

#ifdef __cplusplus
}
#endif

#endif /* ZUV_TESTS_DESKTOP_LOG_LOG_FROM_C_H */
