/* Names in the encodings of DVB. */
#include <iconv.h>

#include "sim/middleware/support.h"

enum { FIRST_CHARACTER = 0x20, PART_OF_ISO_8859 = 0x10, EURO = 0xa4 };

/* By the first byte. A name that begins with a character uses ISO 6937. */
static const char* const k_tables[FIRST_CHARACTER] = {
    [0x01] = "ISO-8859-5",  [0x02] = "ISO-8859-6",  [0x03] = "ISO-8859-7",  [0x04] = "ISO-8859-8",
    [0x05] = "ISO-8859-9",  [0x06] = "ISO-8859-10", [0x07] = "ISO-8859-11", [0x09] = "ISO-8859-13",
    [0x0a] = "ISO-8859-14", [0x0b] = "ISO-8859-15", [0x11] = "UTF-16BE",    [0x13] = "GB2312",
    [0x14] = "UTF-16BE", /* only the characters that are in Big5 */
    [0x15] = "UTF-8"};

int append_name(char* text, size_t size, const uint8_t* name, size_t length) {
    const bool has_prefix = length > 0 && name[0] < FIRST_CHARACTER;
    const char* table = has_prefix ? k_tables[name[0]] : "ISO_6937";
    size_t prefix = has_prefix ? 1 : 0;
    char part[16];
    if (length >= 3 && name[0] == PART_OF_ISO_8859 && name[1] == 0 && name[2] <= 15) {
        snprintf(part, sizeof(part), "ISO-8859-%d", name[2]);
        table = part;
        prefix = 3;
    }
    const iconv_t converter = table != NULL ? iconv_open("WCHAR_T", table) : (iconv_t)-1;
    if (converter == (iconv_t)-1) {
        append(text, size, "unknown table 0x%02x", name[0]);
        return (int)sizeof("unknown table 0x00") - 1;
    }
    int columns = 0;
    char* in = (char*)name + prefix;
    size_t left = length - prefix;
    while (left > 0) {
        wchar_t character = 0; /* shown as a question mark */
        char* out = (char*)&character;
        size_t room = sizeof(character);
        const char* before = in;
        if (!has_prefix && (uint8_t)*in == EURO) {
            character = L'\u20ac';
        } else {
            iconv(converter, &in, &left, &out, &room);
        }
        if (in == before) { /* not converted, or the euro sign: skip one unit */
            const size_t unit = name[0] == 0x11 || name[0] == 0x14 ? 2 : 1;
            in += unit < left ? unit : left;
            left -= unit < left ? unit : left;
        }
        const wchar_t shown = is_plain(character) ? character : L'?';
        append(text, size, "%lc", (wint_t)shown);
        columns += wcwidth(shown);
    }
    iconv_close(converter);
    return columns;
}
