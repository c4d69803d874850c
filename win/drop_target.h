#pragma once

#include <windows.h>

#include <ole2.h>
#include <shellapi.h>

#include <string>
#include <vector>

namespace morvex {

// The full paths of a shell file list, in its order.
std::vector<std::wstring> PathsOf(HDROP drop);

// Lets files be dropped on a window. Belongs to the thread of the window, which has OLE initialised; must
// outlive the registration. Lives as long as its owner keeps it: references are not counted.
class FileDropTarget : private IDropTarget {
  public:
    FileDropTarget() = default;
    FileDropTarget(const FileDropTarget&) = delete;
    FileDropTarget& operator=(const FileDropTarget&) = delete;
    virtual ~FileDropTarget() { Revoke(); }

    // False when the system refuses, as it does without OLE.
    bool Register(HWND window);
    void Revoke();
    IDropTarget& Interface() { return *this; }

    STDMETHODIMP QueryInterface(REFIID id, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP DragEnter(IDataObject* data, DWORD keys, POINTL point, DWORD* effect) override;
    STDMETHODIMP DragOver(DWORD keys, POINTL point, DWORD* effect) override;
    STDMETHODIMP DragLeave() override;
    STDMETHODIMP Drop(IDataObject* data, DWORD keys, POINTL point, DWORD* effect) override;

  protected:
    // Files were dropped at a point of the screen; at least one. The source waits: return soon.
    virtual void OnDrop(std::vector<std::wstring> paths, POINT screen) = 0;

  private:
    HWND window_ = nullptr;
    bool isFileList_ = false;  // what is being dragged now
};

}  // namespace morvex
