#pragma once

#include "tools/Failure.h"

#include <mfapi.h>
#include <objbase.h>

namespace JY::Tools {

/// COM on this thread, in the multithreaded apartment, for as long as it lives.
class ComApartment {
public:
    ComApartment() { check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx"); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() { CoUninitialize(); }
};

/// Media Foundation in this process, for as long as it lives.
class MediaFoundation {
public:
    MediaFoundation() { check(MFStartup(MF_VERSION, MFSTARTUP_FULL), "MFStartup"); }
    MediaFoundation(const MediaFoundation&) = delete;
    MediaFoundation& operator=(const MediaFoundation&) = delete;
    ~MediaFoundation() { MFShutdown(); }
};

/// Both, in the order that they need.
class Session {
    ComApartment apartment_;
    MediaFoundation mediaFoundation_;
};

} // namespace JY::Tools
