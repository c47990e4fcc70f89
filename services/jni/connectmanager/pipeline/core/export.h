// Marks what other libraries call or read. Everything else in the library is hidden.

#ifndef EXPORT_H
#define EXPORT_H

#define PIPELINE_EXPORT __attribute__((visibility("default")))

#endif  // EXPORT_H
