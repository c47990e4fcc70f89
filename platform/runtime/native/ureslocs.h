// In place of ICU's internal header: where it keeps what it knows of currencies.

#include <unicode/udata.h>

#define U_ICUDATA_CURR U_ICUDATA_NAME U_TREE_SEPARATOR_STRING "curr"
