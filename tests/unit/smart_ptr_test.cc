#include "scsitool/kit/smart_ptr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;

struct Counted {
    explicit Counted(std::atomic<int>& ends) : m_ends(ends) {}
    ~Counted() { ++m_ends; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    int value = 7;

  private:
    std::atomic<int>& m_ends;
};

class SmartPtr : public testing::Test {
  protected:
    CFiSmartPtr<Counted> make() { return CFiSmartPtr<Counted>(new Counted(ends)); }
    std::atomic<int> ends{0};
};

TEST_F(SmartPtr, HoldsNothingAtFirst) {
    const CFiSmartPtr<Counted> pointer;
    EXPECT_TRUE(pointer.isNull());
    EXPECT_FALSE(pointer);
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_TRUE(CFiSmartPtr<Counted>(nullptr).isNull());
}

TEST_F(SmartPtr, GivesAccessToItsObject) {
    const CFiSmartPtr<Counted> pointer = make();
    EXPECT_FALSE(pointer.isNull());
    EXPECT_TRUE(pointer);
    EXPECT_EQ(pointer->value, 7);
    EXPECT_EQ(&*pointer, pointer.get());
}

TEST_F(SmartPtr, ObjectGoesWithItsLastOwner) {
    CFiSmartPtr<Counted> first = make();
    {
        const CFiSmartPtr<Counted> second(first);
        EXPECT_EQ(second.get(), first.get());
        first = CFiSmartPtr<Counted>();
        EXPECT_EQ(ends, 0);
    }
    EXPECT_EQ(ends, 1);
}

TEST_F(SmartPtr, AssignmentReleasesWhatWasHeld) {
    CFiSmartPtr<Counted> pointer = make();
    const CFiSmartPtr<Counted> other = make();
    pointer = other;
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(pointer.get(), other.get());
}

TEST_F(SmartPtr, AssignmentToItselfChangesNothing) {
    CFiSmartPtr<Counted> pointer = make();
    Counted* const object = pointer.get();
    CFiSmartPtr<Counted>& same = pointer;
    pointer = same;
    EXPECT_EQ(pointer.get(), object);
    pointer = std::move(same);
    EXPECT_EQ(pointer.get(), object);
    EXPECT_EQ(ends, 0);
}

TEST_F(SmartPtr, MoveHandsTheObjectOver) {
    CFiSmartPtr<Counted> first = make();
    Counted* const object = first.get();
    CFiSmartPtr<Counted> second(std::move(first));
    EXPECT_EQ(second.get(), object);
    CFiSmartPtr<Counted> third = make();
    third = std::move(second);
    EXPECT_EQ(third.get(), object);
    EXPECT_EQ(ends, 1);
}

// The end of the object that is released takes the pointer along that is assigned from.
TEST(SmartPtrChain, CanBeAdvanced) {
    struct Node {
        CFiSmartPtr<Node> next;
        int number = 0;
    };
    CFiSmartPtr<Node> list(new Node);
    list->next = CFiSmartPtr<Node>(new Node);
    list->next->number = 2;
    list = list->next;
    EXPECT_EQ(list->number, 2);
    EXPECT_TRUE(list->next.isNull());
}

TEST_F(SmartPtr, CountSurvivesSeveralThreads) {
    CFiSmartPtr<Counted> shared = make();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([copy = shared] {
            for (int round = 0; round < 5000; ++round) {
                CFiSmartPtr<Counted> own(copy);
                CFiSmartPtr<Counted> another;
                another = std::move(own);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ends, 0);
    threads.clear();
    shared = CFiSmartPtr<Counted>();
    EXPECT_EQ(ends, 1);
}

}  // namespace
