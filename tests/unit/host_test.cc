#include "scsitool/host/host.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"

namespace {

using host::ForwardingHost;
using host::Scope;

TEST(Host, IsTheLinuxHostUnlessAScopeSaysOtherwise) {
    EXPECT_EQ(&host::current(), &host::linuxHost());
}

TEST(HostScope, PutsAHostInPlaceAndRestoresTheFormerOne) {
    ForwardingHost outer(host::linuxHost());
    ForwardingHost inner(host::linuxHost());
    {
        const Scope outerScope(outer);
        EXPECT_EQ(&host::current(), &outer);
        {
            const Scope innerScope(inner);
            EXPECT_EQ(&host::current(), &inner);
        }
        EXPECT_EQ(&host::current(), &outer);
    }
    EXPECT_EQ(&host::current(), &host::linuxHost());
}

TEST(HostScope, RestoresTheFormerHostWhenAnExceptionLeavesIt) {
    ForwardingHost other(host::linuxHost());
    try {
        const Scope scope(other);
        throw 6;
    } catch (int) {
        EXPECT_EQ(&host::current(), &host::linuxHost());
    }
}

TEST(HostScope, NewThreadStartsWithTheLinuxHost) {
    ForwardingHost other(host::linuxHost());
    const Scope scope(other);
    host::Host* seen = nullptr;
    std::thread([&seen] { seen = &host::current(); }).join();
    EXPECT_EQ(seen, &host::linuxHost());
}

TEST(ReadCommand, IsListingPidofAndWhatTellsOfMapsAlone) {
    for (const char* const command :
         {"/bin/ls", "/bin/ls /sys", "/sbin/pidof multipathd",
          "/usr/sbin/dmsetup status --target multipath",
          "/usr/sbin/dmsetup table --target multipath", "/sbin/powermt display dev=all"}) {
        EXPECT_TRUE(host::isReadCommand(command)) << command;
    }
    for (const char* const command :
         {"", "ls", "/bin/lsblk", "/bin/ls;", " /bin/ls", "/sbin/multipath -F", "/bin/l",
          "/usr/sbin/dmsetup remove status", "/usr/sbin/dmsetup statusx", "/sbin/powermt",
          "/sbin/powermt save", "/sbin/powermt check force dev=all class=all",
          "/sbin/powermt displays", "/usr/sbin/dmsetup tables", "/usr/sbin/dmsetup reload table",
          "/usr/sbin/dmsetup"}) {
        EXPECT_FALSE(host::isReadCommand(command)) << command;
    }
}

}  // namespace
