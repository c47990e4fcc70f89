/* What the parts of the demo share: how they print, open files and wait for events. */
#ifndef SIM_SUPPORT_H
#define SIM_SUPPORT_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

/* A detail is shown with --verbose only; a problem goes to standard error. */
typedef enum { DETAIL, RESULT, PROBLEM } LINE_E;

/* Prints a line, at most LINE_SIZE - 1 bytes of it, with a question mark for each character that
 * is not plain. Any thread may call it. */
enum { LINE_SIZE = 2048 };
void say(LINE_E e_line, const char* format, ...) __attribute__((format(printf, 2, 3)));
extern bool g_verbose;

/* Appends to a text in a buffer of size bytes, as far as there is room. */
void append(char* text, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));

/* Resizes an array to count elements and keeps its contents. Ends the process if memory runs
 * out. */
void* grown(void* array, size_t count, size_t size);

/* Whether a character may go to a terminal: it is neither a control character nor one without
 * width that changes the characters around it. */
bool is_plain(wchar_t character);

/* Appends a service's name, whose first byte gives its encoding. What is not a character, or not
 * a plain one, becomes a question mark. Result: the columns that it takes. */
int append_name(char* text, size_t size, const uint8_t* name, size_t length);

/* Opens a regular file. Null after a message if it cannot. */
FILE* input_open(const char* file);

/* How the demo waits for events: a callback notes that something has happened, and the waiting
 * thread then checks whether it was the expected event. event_wait is false if nothing is noted
 * within some seconds. */
void event_noted(void);
bool event_wait(int seconds);

#endif /* SIM_SUPPORT_H */
