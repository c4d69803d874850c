#include "tests/end_to_end/file_drag.h"

#include <windows.h>

#include <shlobj.h>

#include <atomic>
#include <thread>

#include "win/unique_handle.h"

namespace morvex::test {
namespace {

// Goes on while the left button is down.
class DragSource final : private IDropSource {
  public:
    virtual ~DragSource() = default;
    IDropSource* Interface() { return this; }
    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP QueryContinueDrag(BOOL escape, DWORD keys) override {
        if (escape) return DRAGDROP_S_CANCEL;
        return keys & MK_LBUTTON ? S_OK : DRAGDROP_S_DROP;
    }
    STDMETHODIMP GiveFeedback(DWORD) override { return DRAGDROP_S_USEDEFAULTCURSORS; }
};

UniqueCom<IDataObject> FileList(const std::vector<std::wstring>& paths) {
    std::vector<LPITEMIDLIST> items;
    for (const std::wstring& path : paths) items.push_back(ILCreateFromPathW(path.c_str()));
    LPITEMIDLIST folder = ILClone(items.front());
    ILRemoveLastID(folder);
    std::vector<LPCITEMIDLIST> names;
    for (const LPITEMIDLIST item : items) names.push_back(ILFindLastID(item));
    IDataObject* data = nullptr;
    CIDLData_CreateFromIDArray(folder, static_cast<UINT>(names.size()), names.data(), &data);
    for (const LPITEMIDLIST item : items) ILFree(item);
    ILFree(folder);
    return UniqueCom<IDataObject>(data);
}

void Mouse(DWORD what, POINT to) {
    SetCursorPos(to.x, to.y);
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = what;
    SendInput(1, &input, sizeof input);
    Sleep(100);
}

}  // namespace

bool DragFiles(const std::vector<std::wstring>& paths, HWND target) {
    const UniqueCom<IDataObject> files = FileList(paths);
    if (!files) return false;
    constexpr POINT kStart{30, 30};
    const HWND window = CreateWindowW(L"Static", L"source", WS_POPUP | WS_VISIBLE, 0, 0, 60, 60, nullptr,
                                      nullptr, nullptr, nullptr);
    RECT place{};
    GetWindowRect(target, &place);
    const POINT goal{(place.left + place.right) / 2, (place.top + place.bottom) / 2};
    Mouse(MOUSEEVENTF_LEFTDOWN, kStart);
    MSG message;  // the button is down for this thread once it has taken the message
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    std::thread hand([&] {
        for (LONG step = 1; step <= 5; ++step)
            Mouse(MOUSEEVENTF_MOVE,
                  {kStart.x + (goal.x - kStart.x) * step / 5, kStart.y + (goal.y - kStart.y) * step / 5});
        Mouse(MOUSEEVENTF_LEFTUP, goal);
    });
    DragSource source;
    DWORD effect = DROPEFFECT_NONE;
    const HRESULT result = DoDragDrop(files.get(), source.Interface(), DROPEFFECT_COPY, &effect);
    hand.join();
    DestroyWindow(window);
    return result == DRAGDROP_S_DROP && effect == DROPEFFECT_COPY;
}

}  // namespace morvex::test
