/* Compiles one of the middleware's headers alone, as C11. The headers check the layout of their
 * records. */
#include MW_HEADER
