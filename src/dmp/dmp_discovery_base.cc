#include "scsitool/dmp/dmp_discovery_base.h"

CDmpDiscoveryBase::CDmpDiscoveryBase() = default;
CDmpDiscoveryBase::~CDmpDiscoveryBase() = default;
