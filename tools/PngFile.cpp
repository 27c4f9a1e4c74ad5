#include "tools/PngFile.h"

#include "tools/Failure.h"

#include <objbase.h>
#include <wincodec.h>
#include <windows.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

ComPtr<IWICStream> createFile(IWICImagingFactory& factory, const std::wstring& path) {
    ComPtr<IWICStream> file;
    check(factory.CreateStream(file.GetAddressOf()), "IWICImagingFactory::CreateStream");
    check(file->InitializeFromFilename(path.c_str(), GENERIC_WRITE), "creating the PNG file");
    return file;
}

void writeFrame(IWICBitmapFrameEncode& frame, const Picture& picture) {
    check(frame.Initialize(nullptr), "IWICBitmapFrameEncode::Initialize");
    check(frame.SetSize(picture.width(), picture.height()), "IWICBitmapFrameEncode::SetSize");
    WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
    check(frame.SetPixelFormat(&format), "IWICBitmapFrameEncode::SetPixelFormat");
    if (format != GUID_WICPixelFormat32bppBGRA) {
        throw Failure(WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, "IWICBitmapFrameEncode::SetPixelFormat");
    }
    const auto rowBytes = static_cast<UINT>(picture.width() * sizeof(Bgra));
    const auto bytes = static_cast<UINT>(picture.pixels().size() * sizeof(Bgra));
    // The encoder only reads, although its interface does not say so.
    auto* pixels = reinterpret_cast<BYTE*>(const_cast<Bgra*>(picture.pixels().data()));
    check(frame.WritePixels(picture.height(), rowBytes, bytes, pixels), "IWICBitmapFrameEncode::WritePixels");
    check(frame.Commit(), "IWICBitmapFrameEncode::Commit");
}

} // namespace

void writePng(const Picture& picture, const std::wstring& path) {
    ComPtr<IWICImagingFactory> factory;
    check(
        CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(factory.GetAddressOf())),
        "CoCreateInstance(WICImagingFactory)");
    ComPtr<IWICBitmapEncoder> encoder;
    check(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf()),
          "IWICImagingFactory::CreateEncoder");
    const ComPtr<IWICStream> file = createFile(*factory.Get(), path);
    check(encoder->Initialize(file.Get(), WICBitmapEncoderNoCache), "IWICBitmapEncoder::Initialize");
    ComPtr<IWICBitmapFrameEncode> frame;
    check(encoder->CreateNewFrame(frame.GetAddressOf(), nullptr), "IWICBitmapEncoder::CreateNewFrame");
    writeFrame(*frame.Get(), picture);
    check(encoder->Commit(), "IWICBitmapEncoder::Commit");
}

} // namespace JY::Tools
