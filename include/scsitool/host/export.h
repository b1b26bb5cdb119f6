#ifndef SCSITOOL_HOST_EXPORT_H
#define SCSITOOL_HOST_EXPORT_H

/// Marks a declaration as part of the shared library's interface. Everything else is hidden
/// (-fvisibility=hidden), and the version script lists the exported names once more.
#define SCSITOOL_EXPORT __attribute__((visibility("default")))

#endif
