// Replaces ICU's internal header: the place of its data about currencies.

#include <unicode/udata.h>

#define U_ICUDATA_CURR U_ICUDATA_NAME U_TREE_SEPARATOR_STRING "curr"
