// Test entry point: the common controls and OLE are set up on the main thread
// the way the program does it, so that dialogs under test behave as in use.
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <gtest/gtest.h>

int wmain(int argc, wchar_t** argv)
{
    INITCOMMONCONTROLSEX icc{sizeof(icc), ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES | ICC_LINK_CLASS};
    InitCommonControlsEx(&icc);
    const HRESULT ole = OleInitialize(nullptr);
    // A test that fails must not wait on the Windows error dialog.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    if (SUCCEEDED(ole))
        OleUninitialize();
    return result;
}
