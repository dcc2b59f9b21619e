// DCAPKIT_API marks what the shared library shows; everything else is built with hidden visibility.
#ifndef DCAPKIT_CORE_EXPORT_H
#define DCAPKIT_CORE_EXPORT_H

#define DCAPKIT_API __attribute__((visibility("default")))

#endif  // DCAPKIT_CORE_EXPORT_H
