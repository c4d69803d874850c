#include "win/picture.h"

#include <algorithm>
#include <wincodec.h>

#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr UINT kLargestSide = 4096;  // pixels; no picture to be looked at here is larger

template <class Interface, class Make>
UniqueCom<Interface> Made(Make make) {
    Interface* object = nullptr;
    return UniqueCom<Interface>(SUCCEEDED(make(&object)) ? object : nullptr);
}

UniqueCom<IWICImagingFactory> Factory() {
    void* factory = nullptr;
    CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                     &factory);
    return UniqueCom<IWICImagingFactory>(static_cast<IWICImagingFactory*>(factory));
}

}  // namespace

Picture::Picture(const std::string& bytes) {
    const auto factory = Factory();
    if (!factory || bytes.empty()) return;
    const auto stream = Made<IWICStream>([&](auto** made) { return factory->CreateStream(made); });
    auto* const start = reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()));  // is only read
    if (!stream || FAILED(stream->InitializeFromMemory(start, static_cast<DWORD>(bytes.size())))) return;
    const auto decoder = Made<IWICBitmapDecoder>([&](auto** made) {
        return factory->CreateDecoderFromStream(stream.get(), nullptr, WICDecodeMetadataCacheOnDemand, made);
    });
    if (!decoder) return;
    const auto frame = Made<IWICBitmapFrameDecode>([&](auto** made) { return decoder->GetFrame(0, made); });
    const auto converter =
        Made<IWICFormatConverter>([&](auto** made) { return factory->CreateFormatConverter(made); });
    if (!frame || !converter ||
        FAILED(converter->Initialize(frame.get(), GUID_WICPixelFormat32bppBGR, WICBitmapDitherTypeNone,
                                     nullptr, 0, WICBitmapPaletteTypeCustom)))
        return;
    UINT width = 0, height = 0;
    converter->GetSize(&width, &height);
    if (std::min(width, height) == 0 || std::max(width, height) > kLargestSide) return;
    std::vector<std::uint32_t> pixels(static_cast<size_t>(width) * height);
    if (FAILED(converter->CopyPixels(nullptr, width * 4, width * height * 4,
                                     reinterpret_cast<BYTE*>(pixels.data()))))
        return;
    size_ = {static_cast<LONG>(width), static_cast<LONG>(height)};
    pixels_ = std::move(pixels);
}

void Picture::Draw(HDC device, const RECT& area) const {
    if (Empty()) return;
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    const bool wide = size_.cx * height > size_.cy * width;
    const LONG shownWidth = wide ? width : MulDiv(size_.cx, height, size_.cy),
               shownHeight = wide ? MulDiv(size_.cy, width, size_.cx) : height;
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, size_.cx, -size_.cy, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetStretchBltMode(device, HALFTONE);
    SetBrushOrgEx(device, 0, 0, nullptr);
    StretchDIBits(device, area.left + (width - shownWidth) / 2, area.top + (height - shownHeight) / 2,
                  shownWidth, shownHeight, 0, 0, size_.cx, size_.cy, pixels_.data(), &info, DIB_RGB_COLORS,
                  SRCCOPY);
}

}  // namespace morvex
