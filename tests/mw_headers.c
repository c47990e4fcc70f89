/* The headers of the middleware, as C11 and each by itself first; the records pin their own layout.
 */
#include MW_HEADER
