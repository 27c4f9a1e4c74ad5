#include "tests/stress/HeldWorkItems.h"

#include "tests/support/ImportPatch.h"

#include <mfapi.h>
#include <windows.h>
#include <wrl/client.h>

#include <mutex>
#include <optional>
#include <vector>

namespace JY::Test {

using Microsoft::WRL::ComPtr;

namespace {

/// A work item as Media Foundation itself keeps it, so that its state is counted there alone.
struct HeldItem {
    DWORD queue;
    ComPtr<IMFAsyncResult> result;
};

std::mutex heldMutex;
std::vector<HeldItem> heldItems;
std::optional<ImportPatch<decltype(&MFPutWorkItem)>> patch;

HRESULT WINAPI hold(DWORD queue, IMFAsyncCallback* callback, IUnknown* state) {
    const std::lock_guard guard(heldMutex);
    HeldItem& item = heldItems.emplace_back(HeldItem{queue, {}});
    return MFCreateAsyncResult(nullptr, callback, state, item.result.GetAddressOf());
}

} // namespace

HeldWorkItems::HeldWorkItems() {
    patch.emplace("MFPutWorkItem", &hold, GetModuleHandleW(L"JyFlvSource.dll"));
}

HeldWorkItems::~HeldWorkItems() {
    patch.reset();
    const std::lock_guard guard(heldMutex);
    for (const HeldItem& item : heldItems) {
        MFPutWorkItemEx(item.queue, item.result.Get());
    }
    heldItems.clear();
}

} // namespace JY::Test
