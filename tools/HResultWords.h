#pragma once

#include <windows.h>

#include <string>

namespace JY::Tools {

/// An HRESULT for people: its symbol where it has one, its number, and what it means.
/// "MF_E_SHUTDOWN (0xC00D3E85): the media source has been shut down"
std::string hresultInWords(HRESULT code);

} // namespace JY::Tools
