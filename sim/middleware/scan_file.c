/*
 * libdvbv5's reader is not used: it ignores a line that it does not understand, cuts a number that does
 * not fit, gives up the whole file for a word that it does not know, and writes behind its record when a
 * field comes too often. None of that leaves a verdict that can be trusted.
 */
#include <ctype.h>
#include <string.h>

#include "sim/middleware/request.h"

/* Cuts the blanks at both ends. */
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

bool scan_file_next(SCAN_FILE_T* pt_file, ENTRY_T* pt_entry) {
    *pt_entry = (ENTRY_T){.line = pt_file->begun};
    pt_file->begun = 0;
    ssize_t length;
    while ((length = getline(&pt_file->line, &pt_file->size, pt_file->in)) > 0) {
        char* line = pt_file->line;
        const bool marked = ++pt_file->number == 1 && strncmp(line, "\xef\xbb\xbf", 3) == 0;
        const bool has_nul = strlen(line) < (size_t)length;
        char* text = trimmed(marked ? line + 3 : line); /* behind a byte order mark */
        char* equals = strchr(text, '=');
        if (has_nul || !is_text(text)) {
            pt_file->fault = "not text";
            return false;
        }
        if (*text == '[') {
            if (pt_entry->line > 0) {
                pt_file->begun = pt_file->number;
                return true;
            }
            pt_entry->line = pt_file->number;
        } else if (*text != '#' && *text != '\0') {
            if (equals == NULL || pt_entry->line == 0) {
                pt_file->fault = "not in DVBv5 format";
                return false;
            }
            *equals = '\0';
            add_field(pt_entry, trimmed(text), trimmed(equals + 1));
        }
    }
    return pt_entry->line > 0;
}
