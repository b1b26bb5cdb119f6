// Loads a plug-in that works with the library, has it work, and unloads it again or not. The leak
// sanitizer looks at the end.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// A plug-in that stays in memory keeps everything reachable, and the test would show nothing.
bool isGoneAfter(int closed, const char* plugin) {
    if (closed == 0 && ::dlopen(plugin, RTLD_NOW | RTLD_NOLOAD) == nullptr) {
        return true;
    }
    std::fputs("the plug-in stays in memory\n", stderr);
    return false;
}

bool work(const char* plugin, const char* samples, const std::string& end) {
    void* const handle = ::dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::fprintf(stderr, "%s\n", ::dlerror());
        return false;
    }
    const auto run =
        reinterpret_cast<int (*)(const char*, int)>(::dlsym(handle, "enumerateSamples"));
    const int found = run != nullptr ? run(samples, end == "leaking" ? 1 : 0) : 0;
    std::printf("%d devices\n", found);
    return found > 0 && (end != "unloaded" || isGoneAfter(::dlclose(handle), plugin));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: leak_loader PLUGIN SAMPLES kept|unloaded|leaking\n", stderr);
        return 2;
    }
    for (int round = 0; round < 2; ++round) {
        if (!work(argv[1], argv[2], argv[3])) {
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
