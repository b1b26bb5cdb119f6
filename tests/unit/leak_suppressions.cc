// The leak sanitizer asks for these by name; its run-time library must see them.
#define SANITIZER_HOOK extern "C" __attribute__((visibility("default"))) const char*

SANITIZER_HOOK __lsan_default_options();
SANITIZER_HOOK __lsan_default_suppressions();

SANITIZER_HOOK __lsan_default_options() {
    return "print_suppressions=0";
}

/// The multipath manager and the UDID factory leave their modules and generators alone at their
/// end, because whoever registered one may still hold it: their own stay allocated.
SANITIZER_HOOK __lsan_default_suppressions() {
    return "leak:CDmpDiscoveryManager::CDmpDiscoveryManager\n"
           "leak:CUDIDFactory::CUDIDFactory\n";
}
