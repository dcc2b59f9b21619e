// DCAPKIT_API marks what the shared library shows; everything else is built with hidden visibility.
// DCAPKIT_HIDDEN marks members of such a class that are nobody's business but its own.
#ifndef DCAPKIT_CORE_EXPORT_H
#define DCAPKIT_CORE_EXPORT_H

#define DCAPKIT_API __attribute__((visibility("default")))
#define DCAPKIT_HIDDEN __attribute__((visibility("hidden")))

#endif  // DCAPKIT_CORE_EXPORT_H
