/*
 * libdvbv5's reader is not used, because its results cannot be trusted. It ignores a line that it
 * does not understand, truncates a number that does not fit, rejects the whole file for an unknown
 * word, and writes past the end of its record when a field comes too often.
 */
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "sim/middleware/support.h"
#include "sim/middleware/tuning.h"

/* Removes the blanks at both ends. */
static char* trimmed(char* text) {
    text += strspn(text, " \t");
    size_t length = strlen(text);
    while (length > 0 && strchr(" \t\r\n", text[length - 1]) != NULL) {
        text[--length] = '\0';
    }
    return text;
}

static bool is_text(const char* text) {
    while (*text != '\0' && (!iscntrl((unsigned char)*text) || *text == '\t')) {
        ++text;
    }
    return *text == '\0';
}

const char* entry_value(const ENTRY_T* pt_entry, const char* key) {
    for (int i = 0; i < pt_entry->fields; ++i) {
        if (strcasecmp(pt_entry->at_field[i].key, key) == 0) {
            return pt_entry->at_field[i].value;
        }
    }
    return "";
}

static void add_field(ENTRY_T* pt_entry, const char* key, const char* value) {
    const char* before = entry_value(pt_entry, key);
    if (*before != '\0' && strcmp(before, value) == 0) {
        return;
    }
    if (*before != '\0' || strlen(key) >= FIELD_SIZE || strlen(value) >= FIELD_SIZE ||
        pt_entry->fields == FIELDS_MAX) {
        pt_entry->malformed = true;
        return;
    }
    strcpy(pt_entry->at_field[pt_entry->fields].key, key);
    strcpy(pt_entry->at_field[pt_entry->fields++].value, value);
}

ENTRY_T* entries_read(const char* file) {
    FILE* in = input_open(file);
    if (in == NULL) {
        return NULL;
    }
    ENTRY_T* entries = NULL;
    char* line = NULL;
    const char* fault = NULL;
    size_t size = 0;
    size_t count = 0;
    ssize_t length;
    int number = 0;
    while (fault == NULL && (length = getline(&line, &size, in)) > 0) {
        const bool marked = ++number == 1 && strncmp(line, "\xef\xbb\xbf", 3) == 0;
        const bool has_nul = strlen(line) < (size_t)length;
        char* text = trimmed(marked ? line + 3 : line); /* after a byte order mark */
        char* equals = strchr(text, '=');
        if (has_nul || !is_text(text)) {
            fault = "not text";
        } else if (*text == '[') {
            entries = grown(entries, ++count + 1, sizeof(*entries));
            entries[count - 1] = (ENTRY_T){.line = number};
            entries[count] = (ENTRY_T){0};
        } else if (*text != '#' && *text != '\0' && (equals == NULL || count == 0)) {
            fault = "not in DVBv5 format";
        } else if (*text != '#' && *text != '\0') {
            *equals = '\0';
            add_field(&entries[count - 1], trimmed(text), trimmed(equals + 1));
        }
    }
    if (fault != NULL) {
        say(PROBLEM, "%s: line %d: %s", file, number, fault);
        free(entries);
        entries = NULL;
    } else if (count == 0) {
        say(PROBLEM, "%s: not in DVBv5 format: no line begins an entry with [", file);
    }
    free(line);
    fclose(in);
    return entries;
}
