#include "slot_of.h"

#include <gtest/gtest.h>

#include <string>

#include "scsitool/kit/trace_log.h"

namespace {

using qzfi_pdk_4_4::CFiTraceable;
using test::slotOf;

struct Shape {
    virtual void first() {}
    virtual int second(int value) const { return value; }
    void plain() {}
    virtual ~Shape() = default;
    virtual void behindTheDestructor() {}
};

TEST(SlotOf, CountsVirtualOperationsInTheOrderOfDeclaration) {
    EXPECT_EQ(slotOf(&Shape::first), 0);
    EXPECT_EQ(slotOf(&Shape::second), 1);
    EXPECT_EQ(slotOf(&Shape::behindTheDestructor), 4);
}

TEST(SlotOf, IsMinusOneForAnOperationThatIsNotVirtual) {
    EXPECT_EQ(slotOf(&Shape::plain), -1);
}

TEST(Traceable, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(slotOf(&CFiTraceable::registerTraceLog), 2);
}

}  // namespace
