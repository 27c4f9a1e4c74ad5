#include "module/ClassFactory.h"

#include "com/ComCall.h"
#include "com/InterfaceQuery.h"
#include "module/ClassId.h"
#include "source/FlvByteStreamHandlerImpl.h"

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"ClassFactory"};
}

ClassFactory::ClassFactory(ModuleUsageCounter& counter, REFCLSID classId)
    : ComUnknownBase(counter), counter_(counter), classId_(classId) {
    const auto log = Log2::traceMember(here(), typeid(*this), "ClassFactory");
}

ClassFactory::~ClassFactory() {
    const auto log = Log2::traceMember(here(), typeid(*this), "~ClassFactory");
}

HRESULT ClassFactory::QueryInterface(REFIID riid, void** ppObject) {
    return comCall({here(), &typeid(*this), "QueryInterface"}, {{"ppObject", ppObject}}, [&](const ComCall& call) {
        return answerQuery(call, here(), *this, riid, ppObject,
                           {{IID_IUnknown, "IUnknown", this}, {IID_IClassFactory, "IClassFactory", this}});
    });
}

HRESULT ClassFactory::CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppObject) {
    return comCall({here(), &typeid(*this), "CreateInstance"}, {{"ppObject", ppObject}}, [&](const ComCall& call) {
        *ppObject = nullptr;
        if (pUnkOuter != nullptr) {
            call.log().error(here()) << "NoAggregation.";
            return CLASS_E_NOAGGREGATION;
        }
        if (!IsEqualCLSID(classId_, CLSID_FlvByteStreamHandler)) {
            call.log().error(here()) << "Unknown class. CLSID=" << classId_;
            return E_NOINTERFACE;
        }
        const auto handler = createObject<FlvByteStreamHandlerImpl>(counter_);
        if (handler == nullptr) {
            return call.outOfMemory("p");
        }
        return handler->QueryInterface(riid, ppObject);
    });
}

HRESULT ClassFactory::LockServer(BOOL bLock) {
    return comCall({here(), &typeid(*this), "LockServer"}, [&](const ComCall& call) {
        call.log().info(here()) << "bLock=" << bLock;
        if (bLock) {
            counter_.obtain();
        } else {
            counter_.release();
        }
        return S_OK;
    });
}

} // namespace JY::Pictaro::Fs
