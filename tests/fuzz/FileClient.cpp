#include "tests/fuzz/FileClient.h"

#include "tests/fuzz/EndlessFile.h"
#include "tests/fuzz/Finding.h"
#include "tests/fuzz/Patience.h"
#include "tests/fuzz/SourceUse.h"
#include "tests/source/ClientObjects.h"
#include "tests/support/TempFile.h"

#include <windows.h>

#include <filesystem>
#include <fstream>

namespace JY::Fuzz {

using Microsoft::WRL::ComPtr;
using Test::CanUnloadNow;
using Test::ClientCallback;
using Test::ClientState;
using Test::TempFile;

namespace {

/// Milliseconds of processor time; more than that takes who waits at the end of the file.
constexpr std::uint64_t usualCreation = 100;

/// The client's side of one creation. It outlives the creation even when that never comes back.
struct Creation {
    ClientCallback callback;
    ClientState bytes; ///< in the place of a byte stream, which is not used
};

/// Appends to a file that others have open for reading.
void lengthen(const std::wstring& path, const Bytes& file) {
    const Bytes all = lengthened(file);
    std::ofstream stream(std::filesystem::path(path), std::ios::binary | std::ios::app);
    stream.write(reinterpret_cast<const char*>(all.data() + file.size()),
                 static_cast<std::streamsize>(all.size() - file.size()));
}

} // namespace

void FileClient::use(const Bytes& file, Random random) {
    const TempFile onDisk(file);
    if (auto source = open(file, onDisk.path())) {
        ++progress_.opened;
        SourceUse(std::move(source), file.size(), random, progress_).run();
    }
}

ComPtr<IMFByteStreamHandler> FileClient::makeHandler() const {
    ComPtr<IClassFactory> factory;
    require(module_.find<Test::GetClassObject>("DllGetClassObject")(
                Pictaro::Fs::CLSID_FlvByteStreamHandler, IID_IClassFactory,
                reinterpret_cast<void**>(factory.GetAddressOf())) == S_OK &&
                factory != nullptr,
            "no class object");
    ComPtr<IMFByteStreamHandler> handler;
    require(factory->CreateInstance(nullptr, __uuidof(IMFByteStreamHandler),
                                    reinterpret_cast<void**>(handler.GetAddressOf())) == S_OK &&
                handler != nullptr,
            "no handler");
    return handler;
}

ComPtr<IMFMediaSource> FileClient::open(const Bytes& file, const std::wstring& path) {
    auto handler = makeHandler();
    auto* const creation = new Creation; // stays when the creation never comes back
    progress_.workItems += 2;            // the creation and its completion
    const HRESULT begun =
        handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(&creation->bytes), (L"file://" + path).c_str(),
                                   MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr, &creation->callback, nullptr);
    require(begun == S_OK, "BeginCreateObject fails on a file that exists");
    const auto isCalled = [&] { return creation->callback.calls() != 0; };
    if (!waitUntil(isCalled, Patience(usualCreation))) {
        lengthen(path, file);
        if (!waitUntil(isCalled)) {
            throw Hang("the creation does not end");
        }
        ++progress_.waitedForEver;
    }
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    const HRESULT ended = handler->EndCreateObject(creation->callback.takeResult().Get(), &type, object.GetAddressOf());
    progress_.count(Call::create, ended);
    handler.Reset();
    if (!waitUntil([&] { return creation->callback.references() == 0; })) {
        throw Hang("the client's callback stays referenced");
    }
    require(creation->bytes.references() == 0, "the byte stream is kept");
    require(creation->callback.calls() == 1, "the creation completes more than once");
    delete creation;
    require(SUCCEEDED(ended) == (object != nullptr), "EndCreateObject's result and object do not fit");
    require(FAILED(ended) || (ended == S_OK && type == MF_OBJECT_MEDIASOURCE), "EndCreateObject gives no media source");
    ComPtr<IMFMediaSource> source;
    require(object == nullptr || object.As(&source) == S_OK, "the object is no media source");
    return source;
}

void FileClient::requireUnused(const Patience& patience) const {
    auto* const canUnloadNow = module_.find<CanUnloadNow>("DllCanUnloadNow");
    require(waitUntil([&] { return canUnloadNow() == S_OK; }, patience), "objects are left behind");
}

} // namespace JY::Fuzz
