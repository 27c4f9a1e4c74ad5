#include "util/Handle.h"

#include <gtest/gtest.h>
#include <utility>

namespace {

using JY::Handle;

int closed;

BOOL WINAPI countClose(HANDLE) {
    ++closed;
    return TRUE;
}

HANDLE fakeHandle() {
    static int place;
    return &place;
}

class HandleTest : public testing::Test {
protected:
    HandleTest() { closed = 0; }
};

} // namespace

TEST_F(HandleTest, IsReleasedByItsCloserWhenItGoes) {
    { const Handle handle(fakeHandle(), &countClose); }
    EXPECT_EQ(closed, 1);
}

TEST_F(HandleTest, IsReleasedOnceWhenItIsReplaced) {
    Handle handle(fakeHandle(), &countClose);
    handle = Handle();
    EXPECT_EQ(closed, 1);
    EXPECT_FALSE(handle);
}

TEST_F(HandleTest, TakesTheCloserAlongWhenItIsMoved) {
    Handle handle(fakeHandle(), &countClose);
    {
        const Handle moved(std::move(handle));
        EXPECT_EQ(moved.get(), fakeHandle());
    }
    Handle assigned;
    assigned = Handle(fakeHandle(), &countClose);
    EXPECT_EQ(closed, 1);
    assigned.reset();
    EXPECT_EQ(closed, 2);
}

TEST_F(HandleTest, TakesTheInvalidValueForNoHandle) {
    {
        const Handle handle(INVALID_HANDLE_VALUE, &countClose);
        EXPECT_FALSE(handle);
        EXPECT_EQ(handle.get(), nullptr);
    }
    EXPECT_EQ(closed, 0);
}

TEST_F(HandleTest, IsClosedWithCloseHandleByDefault) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    { const Handle handle(event); }
    DWORD flags = 0;
    EXPECT_FALSE(GetHandleInformation(event, &flags));
}
