#pragma once

#include <windows.h>

#include <shobjidl.h>

#include <vector>

namespace morvex::test {

// Stands in for the system's taskbar in this process and keeps every state that a window asks it to show.
class FakeTaskbar : private ITaskbarList3, private IClassFactory {
  public:
    FakeTaskbar() {
        CoRegisterClassObject(CLSID_TaskbarList, static_cast<IClassFactory*>(this), CLSCTX_INPROC_SERVER,
                              REGCLS_MULTIPLEUSE, &cookie_);
    }
    FakeTaskbar(const FakeTaskbar&) = delete;
    FakeTaskbar& operator=(const FakeTaskbar&) = delete;
    virtual ~FakeTaskbar() { CoRevokeClassObject(cookie_); }

    std::vector<TBPFLAG> states;

  private:
    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        const bool factory = IsEqualIID(id, IID_IClassFactory);
        *object = factory ? static_cast<void*>(static_cast<IClassFactory*>(this))
                          : static_cast<ITaskbarList3*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void** object) override {
        *object = static_cast<ITaskbarList3*>(this);
        return S_OK;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
    STDMETHODIMP HrInit() override { return S_OK; }
    STDMETHODIMP AddTab(HWND) override { return S_OK; }
    STDMETHODIMP DeleteTab(HWND) override { return S_OK; }
    STDMETHODIMP ActivateTab(HWND) override { return S_OK; }
    STDMETHODIMP SetActiveAlt(HWND) override { return S_OK; }
    STDMETHODIMP MarkFullscreenWindow(HWND, BOOL) override { return S_OK; }
    STDMETHODIMP SetProgressValue(HWND, ULONGLONG, ULONGLONG) override { return S_OK; }
    STDMETHODIMP SetProgressState(HWND, TBPFLAG state) override {
        if (states.empty() || states.back() != state) states.push_back(state);
        return S_OK;
    }
    STDMETHODIMP RegisterTab(HWND, HWND) override { return S_OK; }
    STDMETHODIMP UnregisterTab(HWND) override { return S_OK; }
    STDMETHODIMP SetTabOrder(HWND, HWND) override { return S_OK; }
    STDMETHODIMP SetTabActive(HWND, HWND, DWORD) override { return S_OK; }
    STDMETHODIMP ThumbBarAddButtons(HWND, UINT, LPTHUMBBUTTON) override { return S_OK; }
    STDMETHODIMP ThumbBarUpdateButtons(HWND, UINT, LPTHUMBBUTTON) override { return S_OK; }
    STDMETHODIMP ThumbBarSetImageList(HWND, HIMAGELIST) override { return S_OK; }
    STDMETHODIMP SetOverlayIcon(HWND, HICON, LPCWSTR) override { return S_OK; }
    STDMETHODIMP SetThumbnailTooltip(HWND, LPCWSTR) override { return S_OK; }
    STDMETHODIMP SetThumbnailClip(HWND, RECT*) override { return S_OK; }

    DWORD cookie_ = 0;
};

}  // namespace morvex::test
