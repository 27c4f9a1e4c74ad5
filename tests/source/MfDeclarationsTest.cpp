#include "source/MfDeclarations.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

// The interface as Media Foundation's documentation gives it: {BB420AA4-765B-4A1F-91FE-D6A8A143924C}, derived from
// IUnknown, with the four methods in the order of the slots below.
struct HandlerSlots {
    void* unknown[3];
    HRESULT(STDMETHODCALLTYPE* beginCreateObject)
    (void*, IMFByteStream*, LPCWSTR, DWORD, IPropertyStore*, IUnknown**, IMFAsyncCallback*, IUnknown*);
    HRESULT(STDMETHODCALLTYPE* endCreateObject)(void*, IMFAsyncResult*, MF_OBJECT_TYPE*, IUnknown**);
    HRESULT(STDMETHODCALLTYPE* cancelObjectCreation)(void*, IUnknown*);
    HRESULT(STDMETHODCALLTYPE* getMaxNumberOfBytesRequiredForResolution)(void*, QWORD*);
};

class Handler final : public IMFByteStreamHandler {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE BeginCreateObject(IMFByteStream*, LPCWSTR, DWORD flags, IPropertyStore*, IUnknown**,
                                                IMFAsyncCallback*, IUnknown*) override {
        return static_cast<HRESULT>(flags);
    }
    HRESULT STDMETHODCALLTYPE EndCreateObject(IMFAsyncResult*, MF_OBJECT_TYPE* type, IUnknown**) override {
        *type = MF_OBJECT_BYTESTREAM;
        return 2;
    }
    HRESULT STDMETHODCALLTYPE CancelObjectCreation(IUnknown*) override { return 3; }
    HRESULT STDMETHODCALLTYPE GetMaxNumberOfBytesRequiredForResolution(QWORD* bytes) override {
        *bytes = 0x1'0000'0000;
        return 4;
    }
};

TEST(IMFByteStreamHandler, HasItsDocumentedIdentifier) {
    const IID documented = {0xBB420AA4, 0x765B, 0x4A1F, {0x91, 0xFE, 0xD6, 0xA8, 0xA1, 0x43, 0x92, 0x4C}};
    EXPECT_TRUE(IsEqualIID(__uuidof(IMFByteStreamHandler), documented));
}

TEST(IMFByteStreamHandler, HasItsMethodsInTheDocumentedOrder) {
    Handler handler;
    IMFByteStreamHandler* const object = &handler;
    HandlerSlots* slots = nullptr;
    std::memcpy(static_cast<void*>(&slots), static_cast<const void*>(object), sizeof(void*));
    EXPECT_EQ(slots->beginCreateObject(object, nullptr, L"", 77, nullptr, nullptr, nullptr, nullptr), 77);
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    EXPECT_EQ(slots->endCreateObject(object, nullptr, &type, nullptr), 2);
    EXPECT_EQ(type, MF_OBJECT_BYTESTREAM);
    EXPECT_EQ(slots->cancelObjectCreation(object, nullptr), 3);
    QWORD bytes = 0;
    EXPECT_EQ(slots->getMaxNumberOfBytesRequiredForResolution(object, &bytes), 4);
    EXPECT_EQ(bytes, 0x1'0000'0000U);
}

} // namespace
