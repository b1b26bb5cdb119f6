// What others may and may not reach of the published classes.
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

#include "scsitool/udid/device_udid_factory.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceable;
using qzfi_pdk_4_4::CFiTraceLog;
using Log = CFiSmartPtr<CFiTraceLog>;

template <class Object, class Argument, class = void>
struct Registers : std::false_type {};
template <class Object, class Argument>
struct Registers<
    Object, Argument,
    std::void_t<decltype(std::declval<Object&>().registerTraceLog(std::declval<Argument>()))>>
    : std::true_type {};

// A temporary or a constant pointer binds only to the operation of CFiTraceable, which stores the
// log in the one object and hands it to nothing that the object holds.
template <class Object>
void expectVariablesAlone(const char* type) {
    EXPECT_TRUE((Registers<Object, Log&>::value)) << type;
    EXPECT_FALSE((Registers<Object, Log>::value)) << type;
    EXPECT_FALSE((Registers<Object, const Log&>::value)) << type;
}

TEST(PublicSurface, ATraceLogIsRegisteredByAVariable) {
    expectVariablesAlone<CUDIDFactory>("CUDIDFactory");
    expectVariablesAlone<CDeviceDiscoveryBase>("CDeviceDiscoveryBase");
    expectVariablesAlone<CLinuxDeviceDiscovery>("CLinuxDeviceDiscovery");
    expectVariablesAlone<CDmpDiscoveryManager>("CDmpDiscoveryManager");
    // These hold nothing to hand it to.
    EXPECT_TRUE((Registers<CScsiTool, Log>::value));
    EXPECT_TRUE((Registers<CFiTraceable, const Log&>::value));
}

// Tells whether an expression of an object named `one` compiles here.
#define COMPILES(Type, expression) \
    compiles<Type>([](auto&& one) -> std::void_t<decltype(expression)> {})
template <class Type, class Expression>
constexpr bool compiles(Expression) {
    return std::is_invocable_v<Expression, Type&>;
}

TEST(PublicSurface, TheFactoryShowsWhatItsCallersSet) {
    EXPECT_TRUE(COMPILES(CUDIDFactory, one.m_presetDeviceMap));
    EXPECT_TRUE(COMPILES(CUDIDFactory, one.m_taqMode));
    EXPECT_FALSE(COMPILES(CUDIDFactory, one.m_deviceMap));
    EXPECT_FALSE(COMPILES(CUDIDFactory, one.m_generators));
    EXPECT_FALSE(COMPILES(CUDIDFactory, one.m_taqGenerator));
    EXPECT_FALSE(COMPILES(CUDIDFactory, one.m_devices));
    EXPECT_FALSE(COMPILES(CUDIDFactory, one.m_discovery));
    EXPECT_FALSE(COMPILES(CUDIDFactory, one.m_dmpManager));
}

TEST(PublicSurface, DiscoveryAndTheManagerShowNothingTheyHold) {
    EXPECT_FALSE(COMPILES(CLinuxDeviceDiscovery, one.m_scsiTool));
    EXPECT_FALSE(COMPILES(CLinuxDeviceDiscovery, one.m_dmpDiscoveryManager));
    EXPECT_FALSE(COMPILES(CDmpDiscoveryManager, one.m_modules));
}

TEST(PublicSurface, AGeneratorsKeysAreReadAndNotSet) {
    EXPECT_FALSE(COMPILES(CUdidGenerator, one.m_vendor));
    EXPECT_FALSE(COMPILES(CUdidGenerator, one.m_product));
    EXPECT_FALSE(COMPILES(CUdidGenerator, one.vendorKey() = std::string()));
    EXPECT_FALSE(COMPILES(CUdidGeneratorException, one.m_messageId));
}

}  // namespace
