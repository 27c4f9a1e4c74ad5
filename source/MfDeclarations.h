#pragma once

#include <mfidl.h>
#include <windows.h>

#include <propsys.h>

// Media Foundation's byte-stream handler interface, which MinGW-w64's headers lack. Headers that have it define the
// guard, whose name is therefore theirs.
#ifndef __IMFByteStreamHandler_INTERFACE_DEFINED__
#define __IMFByteStreamHandler_INTERFACE_DEFINED__ // NOLINT(bugprone-reserved-identifier)

MIDL_INTERFACE("bb420aa4-765b-4a1f-91fe-d6a8a143924c")
IMFByteStreamHandler : public IUnknown {
public:
    virtual HRESULT STDMETHODCALLTYPE BeginCreateObject(IMFByteStream * pByteStream, LPCWSTR pwszURL, DWORD dwFlags,
                                                        IPropertyStore * pProps, IUnknown * *ppIUnknownCancelCookie,
                                                        IMFAsyncCallback * pCallback, IUnknown * punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndCreateObject(IMFAsyncResult * pResult, MF_OBJECT_TYPE * pObjectType,
                                                      IUnknown * *ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE CancelObjectCreation(IUnknown * pIUnknownCancelCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaxNumberOfBytesRequiredForResolution(QWORD * pqwBytes) = 0;
};
#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IMFByteStreamHandler, 0xbb420aa4, 0x765b, 0x4a1f, 0x91, 0xfe, 0xd6, 0xa8, 0xa1, 0x43, 0x92, 0x4c)
#endif

#endif
