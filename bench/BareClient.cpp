#include "bench/BareClient.h"

#include "tools/Failure.h"
#include "tools/PropVariant.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace JY::Bench {

using Microsoft::WRL::ComPtr;
using Tools::check;
using Tools::Failure;
using Tools::PropVariant;

namespace {

/// The bytes of a file, from its start again when they are at their end.
class FileBytes {
public:
    explicit FileBytes(const std::wstring& path)
        : file_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)) {
        if (file_ == INVALID_HANDLE_VALUE) {
            throw Failure(HRESULT_FROM_WIN32(GetLastError()), "CreateFile");
        }
    }
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes() { CloseHandle(file_); }

    void take(BYTE* target, std::size_t count) {
        while (count != 0) {
            if (used_ == filled_) {
                refill();
            }
            const std::size_t taken = std::min(count, filled_ - used_);
            std::memcpy(target, piece_.data() + used_, taken);
            used_ += taken;
            target += taken;
            count -= taken;
        }
    }

private:
    void refill() {
        DWORD done = 0;
        if (!ReadFile(file_, piece_.data(), static_cast<DWORD>(piece_.size()), &done, nullptr)) {
            throw Failure(HRESULT_FROM_WIN32(GetLastError()), "ReadFile");
        }
        if (done == 0) {
            SetFilePointer(file_, 0, nullptr, FILE_BEGIN);
        }
        filled_ = done;
        used_ = 0;
    }

    HANDLE file_;
    static constexpr std::size_t pieceSize = std::size_t{64} * 1024;
    std::vector<BYTE> piece_ = std::vector<BYTE>(pieceSize);
    std::size_t filled_ = 0;
    std::size_t used_ = 0;
};

ComPtr<IMFMediaBuffer> makeBuffer(FileBytes& bytes, DWORD size) {
    ComPtr<IMFMediaBuffer> buffer;
    check(MFCreateMemoryBuffer(size, buffer.GetAddressOf()), "MFCreateMemoryBuffer");
    BYTE* data = nullptr;
    check(buffer->Lock(&data, nullptr, nullptr), "Lock");
    bytes.take(data, size);
    check(buffer->Unlock(), "Unlock");
    check(buffer->SetCurrentLength(size), "SetCurrentLength");
    return buffer;
}

ComPtr<IMFSample> makeSample(FileBytes& bytes, DWORD size, LONGLONG time) {
    const ComPtr<IMFMediaBuffer> buffer = makeBuffer(bytes, size);
    ComPtr<IMFSample> sample;
    check(MFCreateSample(sample.GetAddressOf()), "MFCreateSample");
    check(sample->AddBuffer(buffer.Get()), "AddBuffer");
    check(sample->SetSampleTime(time), "SetSampleTime");
    check(sample->SetSampleDuration(time), "SetSampleDuration");
    return sample;
}

/// As a player takes a sample: with the event's type, the sample's time and size.
void takeSample(IMFMediaEventQueue& queue) {
    ComPtr<IMFMediaEvent> event;
    check(queue.GetEvent(0, event.GetAddressOf()), "GetEvent");
    MediaEventType type = MEUnknown;
    check(event->GetType(&type), "GetType");
    PropVariant value;
    check(event->GetValue(value.put()), "GetValue");
    ComPtr<IMFSample> sample;
    check(value->punkVal->QueryInterface(IID_PPV_ARGS(sample.GetAddressOf())), "QueryInterface");
    LONGLONG time = 0;
    check(sample->GetSampleTime(&time), "GetSampleTime");
    DWORD size = 0;
    check(sample->GetTotalLength(&size), "GetTotalLength");
}

} // namespace

void pushBareSamples(const std::wstring& path, const std::vector<std::uint32_t>& sizes) {
    FileBytes bytes(path);
    ComPtr<IMFMediaEventQueue> queue;
    check(MFCreateEventQueue(queue.GetAddressOf()), "MFCreateEventQueue");
    LONGLONG time = 0;
    for (const std::uint32_t size : sizes) {
        const ComPtr<IMFSample> sample = makeSample(bytes, size, ++time);
        check(queue->QueueEventParamUnk(MEMediaSample, GUID_NULL, S_OK, sample.Get()), "QueueEventParamUnk");
        takeSample(*queue.Get());
    }
    check(queue->Shutdown(), "Shutdown");
}

} // namespace JY::Bench
