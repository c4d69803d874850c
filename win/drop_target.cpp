#include "win/drop_target.h"

namespace morvex {
namespace {

FORMATETC kFileList{CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};

}  // namespace

std::vector<std::wstring> PathsOf(HDROP drop) {
    std::vector<std::wstring> paths;
    const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
    for (UINT i = 0; i < count; ++i) {
        std::wstring path(DragQueryFileW(drop, i, nullptr, 0), L'\0');
        if (path.empty()) continue;
        DragQueryFileW(drop, i, path.data(), static_cast<UINT>(path.size()) + 1);
        paths.push_back(std::move(path));
    }
    return paths;
}

bool FileDropTarget::Register(HWND window) {
    if (FAILED(RegisterDragDrop(window, this))) return false;
    window_ = window;
    return true;
}

void FileDropTarget::Revoke() {
    if (window_) RevokeDragDrop(window_);
    window_ = nullptr;
}

STDMETHODIMP FileDropTarget::QueryInterface(REFIID id, void** object) {
    const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDropTarget);
    *object = known ? static_cast<IDropTarget*>(this) : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP FileDropTarget::DragEnter(IDataObject* data, DWORD keys, POINTL point, DWORD* effect) {
    isFileList_ = data->QueryGetData(&kFileList) == S_OK;
    return DragOver(keys, point, effect);
}

STDMETHODIMP FileDropTarget::DragOver(DWORD, POINTL, DWORD* effect) {
    *effect = isFileList_ ? DROPEFFECT_COPY : DROPEFFECT_NONE;
    return S_OK;
}

STDMETHODIMP FileDropTarget::DragLeave() {
    return S_OK;
}

STDMETHODIMP FileDropTarget::Drop(IDataObject* data, DWORD, POINTL point, DWORD* effect) {
    *effect = DROPEFFECT_NONE;
    STGMEDIUM medium{};
    if (FAILED(data->GetData(&kFileList, &medium))) return S_OK;
    HRESULT result = S_OK;
    try {
        std::vector<std::wstring> paths = PathsOf(static_cast<HDROP>(medium.hGlobal));
        if (!paths.empty()) {
            *effect = DROPEFFECT_COPY;
            OnDrop(std::move(paths), {point.x, point.y});
        }
    } catch (...) {  // nothing may leave a COM method; the source learns that the drop failed
        result = E_FAIL;
    }
    ReleaseStgMedium(&medium);
    return result;
}

}  // namespace morvex
