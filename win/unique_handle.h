#pragma once

#include <windows.h>

#include <memory>

namespace morvex {

// Owner of one system handle; closes it when it goes out of scope. `Close` is the function that ends the
// handle.
template <auto Close>
struct HandleCloser {
    template <class H>
    void operator()(H handle) const {
        Close(handle);
    }
};

template <class T, auto Close>
using UniqueResource = std::unique_ptr<std::remove_pointer_t<T>, HandleCloser<Close>>;

using UniqueHandle = UniqueResource<HANDLE, ::CloseHandle>;
using UniqueModule = UniqueResource<HMODULE, ::FreeLibrary>;
using UniqueBrush = UniqueResource<HBRUSH, ::DeleteObject>;
using UniqueFont = UniqueResource<HFONT, ::DeleteObject>;
using UniqueMenu = UniqueResource<HMENU, ::DestroyMenu>;
using UniqueFind = UniqueResource<HANDLE, ::FindClose>;
using UniqueLocal = UniqueResource<HLOCAL, ::LocalFree>;

// Owner of one reference to a COM object.
struct ComReleaser {
    template <class Interface>
    void operator()(Interface* object) const {
        object->Release();
    }
};
template <class Interface>
using UniqueCom = std::unique_ptr<Interface, ComReleaser>;

// File functions answer INVALID_HANDLE_VALUE for a failure; this makes it an empty owner.
inline UniqueHandle OwnFile(HANDLE file) {
    return UniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

}  // namespace morvex
