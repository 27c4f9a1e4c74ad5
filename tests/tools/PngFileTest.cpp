#include "tools/PngFile.h"

#include "tools/Failure.h"
#include "tools/Session.h"

#include <wincodec.h>
#include <wrl/client.h>

#include <filesystem>
#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {
namespace {

/// The picture that a PNG file holds.
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

struct PngFile : testing::Test {
    ComApartment apartment;
    std::filesystem::path path = std::filesystem::temp_directory_path() / "jy-png-file-test.png";
    Picture picture{3, 2, {1, 2, 3}};

    PngFile() {
        picture.at(0, 0) = {255, 0, 0};
        picture.at(2, 1) = {0, 0, 255};
    }
    ~PngFile() override { std::filesystem::remove(path); }
};

TEST_F(PngFile, HoldsEveryPixelWhereItWas) {
    writePng(picture, path.wstring());
    const Picture read = readPng(path.wstring());
    EXPECT_EQ(read.width(), 3U);
    EXPECT_EQ(read.height(), 2U);
    EXPECT_EQ(read.pixels(), picture.pixels());
}

TEST_F(PngFile, ReplacesAFileOfThatName) {
    writePng(Picture(50, 50), path.wstring());
    writePng(picture, path.wstring());
    EXPECT_EQ(readPng(path.wstring()).pixels(), picture.pixels());
}

TEST_F(PngFile, CannotBeMadeInAFolderThatIsMissing) {
    EXPECT_THROW(writePng(picture, (path.parent_path() / "no such folder" / "a.png").wstring()), Failure);
}

} // namespace
} // namespace JY::Tools
