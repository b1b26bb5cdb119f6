/// The multipath manager and the UDID factory leave their modules and generators alone at their
/// end, because whoever registered one may still hold it: their own stay allocated.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:CDmpDiscoveryManager::CDmpDiscoveryManager\n"
           "leak:CUDIDFactory::CUDIDFactory\n";
}
