#include "tests/tools/PngReader.h"

#include "tools/Failure.h"

#include <objbase.h>
#include <wincodec.h>
#include <windows.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

Picture readPng(const std::wstring& path) {
    ComPtr<IWICImagingFactory> factory;
    check(
        CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(factory.GetAddressOf())),
        "WICImagingFactory");
    ComPtr<IWICBitmapDecoder> decoder;
    check(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand,
                                             decoder.GetAddressOf()),
          "CreateDecoderFromFilename");
    ComPtr<IWICBitmapFrameDecode> frame;
    check(decoder->GetFrame(0, frame.GetAddressOf()), "GetFrame");
    ComPtr<IWICBitmapSource> source;
    check(WICConvertBitmapSource(GUID_WICPixelFormat32bppBGRA, frame.Get(), source.GetAddressOf()), "Convert");
    UINT width = 0;
    UINT height = 0;
    check(source->GetSize(&width, &height), "GetSize");
    Picture picture(width, height);
    check(source->CopyPixels(nullptr, width * 4, width * height * 4, reinterpret_cast<BYTE*>(&picture.at(0, 0))),
          "CopyPixels");
    return picture;
}

} // namespace JY::Tools
