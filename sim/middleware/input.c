#include "sim/middleware/input.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <libdvbv5/dvb-v5-std.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sim/middleware/report.h"

/* libdvbv5 builds its complaint about a longer assignment in too small a buffer. */
enum { ASSIGNMENT_MAX = 56, TEXT_LINE_MAX = 4096 };

FILE* input_open(const char* file, size_t* pz_size) {
    struct stat status;
    const int descriptor = open(file, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        say(PROBLEM, "%s: %s", file, strerror(errno));
    } else if (!S_ISREG(status.st_mode)) {
        say(PROBLEM, "%s: %s", file,
            S_ISDIR(status.st_mode) ? strerror(EISDIR) : "Not a regular file");
    } else {
        *pz_size = (size_t)status.st_size;
        return fdopen(descriptor, "rb");
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    return NULL;
}

/* Whether a number fits into a settings record. libdvbv5 cuts those that do not. -1 means none. */
static bool fits(const char* number) {
    errno = 0;
    const long long value = strtoll(number, NULL, 10);
    return errno == 0 && value >= -1 && value <= INT32_MAX;
}

/* What is wrong with a line of a scan file; null: nothing. Counts the entries and notes the last
 * one whose numbers do not fit. */
static const char* line_fault(char* line, int* pi4_entries, int* pi4_unfit) {
    line[strcspn(line, "\r\n")] = '\0';
    char* text = line + strspn(line, " \t");
    const bool assignment = *text != '[' && *text != '#';
    for (const char* c = text; *c != '\0'; ++c) {
        if ((iscntrl((unsigned char)*c) && *c != '\t') || (assignment && !isascii(*c))) {
            return "not text";
        }
    }
    if (*text == '[') {
        ++*pi4_entries;
    } else if (assignment && *text != '\0') {
        const char* value = strchr(text, '=');
        if (value == NULL || *pi4_entries == 0) {
            return "not in DVBv5 format";
        }
        if (strlen(text) > ASSIGNMENT_MAX) {
            return "too long";
        }
        if (!fits(value + 1)) {
            *pi4_unfit = *pi4_entries;
        }
    }
    return NULL;
}

/* The entries of a file; -1, told why, when it is not in the format. Notes in pc_unfit, which has
 * z_size bytes, those whose numbers do not fit. */
static int check_lines(const char* file, FILE* in, char* pc_unfit, size_t z_size) {
    char line[TEXT_LINE_MAX];
    int entries = 0;
    for (int number = 1; fgets(line, sizeof(line), in) != NULL; ++number) {
        int unfit = 0;
        const bool whole = strchr(line, '\n') != NULL || feof(in) != 0;
        const char* fault = whole ? line_fault(line, &entries, &unfit) : "too long, or not text";
        if (fault != NULL) {
            say(PROBLEM, "%s: line %d: %s", file, number, fault);
            return -1;
        }
        if (unfit > 0 && (size_t)unfit <= z_size) {
            pc_unfit[unfit - 1] = 1;
        }
    }
    if (ferror(in)) {
        say(PROBLEM, "%s: %s", file, strerror(errno));
        return -1;
    }
    if (entries == 0) {
        say(PROBLEM, "%s: not in DVBv5 format: it has no entry, which begins with [", file);
        return -1;
    }
    return entries;
}

struct dvb_file* input_scan_file(const char* file) {
    size_t size = 0;
    struct dvb_file* pt_file = NULL;
    FILE* in = input_open(file, &size);
    char* pc_unfit = in != NULL ? calloc(size / 2 + 1, 1) : NULL; /* an entry has two bytes */
    if (in != NULL && pc_unfit == NULL) {
        say(PROBLEM, "%s: %s", file, strerror(errno));
    } else if (in != NULL && check_lines(file, in, pc_unfit, size / 2) > 0) {
        pt_file = dvb_read_file_format(file, SYS_UNDEFINED, FILE_DVBV5);
        if (pt_file == NULL) {
            say(PROBLEM, "%s: not in DVBv5 format", file);
        }
    }
    int i = 0;
    for (struct dvb_entry* e = pt_file != NULL ? pt_file->first_entry : NULL; e != NULL;
         e = e->next) {
        if (pc_unfit[i++]) {
            dvb_store_entry_prop(e, DTV_FREQUENCY, FREQUENCY_DOES_NOT_FIT);
        }
    }
    free(pc_unfit);
    if (in != NULL) {
        fclose(in);
    }
    return pt_file;
}
