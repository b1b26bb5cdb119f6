#ifndef SCSITOOL_TOOLS_KEPT_H
#define SCSITOOL_TOOLS_KEPT_H

#include <memory>

namespace tools {

/// Has an address found in the library's memory until the process ends. Any number of threads.
void keepReachable(const void* object);

/// Gives an object away that nobody will destroy, because others may hold it for as long as they
/// like. It stays reachable: who looks for leaks in a process finds none of this library's.
template <class Object>
Object* kept(std::unique_ptr<Object> object) {
    keepReachable(object.get());
    return object.release();
}

}  // namespace tools

#endif
