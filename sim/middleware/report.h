/* What the demo prints. No control character of a file reaches the terminal. */
#ifndef SIM_REPORT_H
#define SIM_REPORT_H

#include <stdbool.h>

/* A detail is shown with --verbose only; a problem goes to standard error. */
typedef enum { DETAIL, RESULT, PROBLEM } LINE_E;

void report_setup(bool verbose, bool progress);

/* Prints a line; at most LINE_SIZE - 1 bytes of it. Any thread may call it. */
enum { LINE_SIZE = 1024 };
void say(LINE_E e_line, const char* format, ...) __attribute__((format(printf, 2, 3)));

/* Replaces the one progress line on standard error; the next line that is printed erases it, and so
 * does a null format. False when there is no terminal for it. */
bool progress(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif /* SIM_REPORT_H */
