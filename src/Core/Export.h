// DCAPKIT_API exports a class or a function from the shared library; everything else is built with
// hidden visibility. DCAPKIT_HIDDEN takes private members of an exported class back out of the ABI.
#ifndef DCAPKIT_CORE_EXPORT_H
#define DCAPKIT_CORE_EXPORT_H

#define DCAPKIT_API __attribute__((visibility("default")))
#define DCAPKIT_HIDDEN __attribute__((visibility("hidden")))

#endif  // DCAPKIT_CORE_EXPORT_H
