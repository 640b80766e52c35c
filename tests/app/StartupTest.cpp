// The single-instance rule wants the main window's exact title.
#include "app/DialogLook.h"
#include "app/Startup.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SingleInstance, OnlyTheExactTitleCounts)
{
    HANDLE mutex = CreateMutexW(nullptr, FALSE, L"KrnTests.SingleInstanceProbe");
    HWND almost = CreateWindowExW(0, L"Static", L"Kestrune™ Properties", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                  nullptr, nullptr);
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex, ERROR_ALREADY_EXISTS));
    HWND exact = CreateWindowExW(0, L"Static", krn::kMainWindowTitle, WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                 nullptr, nullptr);
    EXPECT_TRUE(krn::BringOtherCopyToFront(mutex, ERROR_ALREADY_EXISTS));
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex, ERROR_SUCCESS)) << "a new mutex: nobody else runs";
    DestroyWindow(exact);
    DestroyWindow(almost);
    CloseHandle(mutex);
}

} // namespace
