/* What the parts of the demo share: how they print, open files and wait for events. */
#ifndef SIM_SUPPORT_H
#define SIM_SUPPORT_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

/* A detail is shown with --verbose only; a problem goes to standard error. */
typedef enum { DETAIL, RESULT, PROBLEM } LINE_E;

/* Prints a line, at most LINE_SIZE - 1 bytes of it, and of a control character or the like a
 * question mark. Any thread may call it. */
enum { LINE_SIZE = 2048 };
void say(LINE_E e_line, const char* format, ...) __attribute__((format(printf, 2, 3)));
extern bool g_verbose;

/* Appends to a text of size bytes, as far as there is room. */
void append(char* text, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));

/* An array that has room for count elements, with what was in it; ends the process when there is no
 * memory. */
void* grown(void* array, size_t count, size_t size);

/* Whether a terminal may get a character: it is neither a control character, nor one of those that
 * have no width and change what stands around them. */
bool is_plain(wchar_t character);

/* Appends a service's name, whose first byte says how it is written. What a terminal must not get
 * and what is no character becomes a question mark. Result: the columns that it takes. */
int append_name(char* text, size_t size, const uint8_t* name, size_t length);

/* Opens a regular file; null, told why, when it cannot. */
FILE* input_open(const char* file);

/* The demo does one thing at a time and waits for its events in one way: a callback notes that
 * something has happened, which need not be what is waited for. event_wait is false when nothing is
 * noted within some seconds. */
void event_noted(void);
bool event_wait(int seconds);

#endif /* SIM_SUPPORT_H */
