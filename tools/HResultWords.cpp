#include "tools/HResultWords.h"

#include "tools/Text.h"

#include <mferror.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace JY::Tools {

namespace {

struct Entry {
    HRESULT code;
    const char* symbol;
    const char* words;
};

constexpr std::array entries{
    Entry{S_OK, "S_OK", "success"},
    Entry{E_FAIL, "E_FAIL", "it failed for a reason that was not given"},
    Entry{E_INVALIDARG, "E_INVALIDARG", "an argument was refused"},
    Entry{E_NOINTERFACE, "E_NOINTERFACE", "the object lacks an interface that is needed"},
    Entry{E_NOTIMPL, "E_NOTIMPL", "the operation does not exist here"},
    Entry{E_OUTOFMEMORY, "E_OUTOFMEMORY", "memory has run out"},
    Entry{E_POINTER, "E_POINTER", "a pointer was refused"},
    Entry{E_ACCESSDENIED, "E_ACCESSDENIED", "access is denied"},
    Entry{E_UNEXPECTED, "E_UNEXPECTED", "the call came at an unexpected time"},
    Entry{HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "ERROR_FILE_NOT_FOUND", "there is no such file"},
    Entry{HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "ERROR_PATH_NOT_FOUND", "there is no such folder"},
    Entry{HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "ERROR_SHARING_VIOLATION", "another program holds the file"},
    Entry{HRESULT_FROM_WIN32(ERROR_TIMEOUT), "ERROR_TIMEOUT", "no answer came in time"},
    Entry{REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG", "the class is not registered"},
    Entry{CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE", "the library does not have the class"},
    Entry{MF_E_BYTESTREAM_NOT_SEEKABLE, "MF_E_BYTESTREAM_NOT_SEEKABLE", "the data cannot be read from any place"},
    Entry{MF_E_END_OF_STREAM, "MF_E_END_OF_STREAM", "the stream has ended"},
    Entry{MF_E_INVALID_FILE_FORMAT, "MF_E_INVALID_FILE_FORMAT", "the file is not of the format that it should have"},
    Entry{MF_E_INVALID_STATE_TRANSITION, "MF_E_INVALID_STATE_TRANSITION", "not possible in the source's state"},
    Entry{MF_E_INVALIDMEDIATYPE, "MF_E_INVALIDMEDIATYPE", "the media type is not usable"},
    Entry{MF_E_INVALIDREQUEST, "MF_E_INVALIDREQUEST", "the request is not possible now"},
    Entry{MF_E_INVALIDSTREAMNUMBER, "MF_E_INVALIDSTREAMNUMBER", "there is no stream of that number"},
    Entry{MF_E_NOT_FOUND, "MF_E_NOT_FOUND", "nothing suitable was found"},
    Entry{MF_E_NOT_INITIALIZED, "MF_E_NOT_INITIALIZED", "the object has not been prepared"},
    Entry{MF_E_SHUTDOWN, "MF_E_SHUTDOWN", "the media source has been shut down"},
    Entry{MF_E_TOPO_CODEC_NOT_FOUND, "MF_E_TOPO_CODEC_NOT_FOUND", "there is no decoder for the stream"},
    Entry{MF_E_TRANSFORM_TYPE_NOT_SET, "MF_E_TRANSFORM_TYPE_NOT_SET", "the decoder has no media type"},
    Entry{MF_E_UNSUPPORTED_BYTESTREAM_TYPE, "MF_E_UNSUPPORTED_BYTESTREAM_TYPE",
          "no installed media source opens files of this kind"},
    Entry{MF_E_UNSUPPORTED_FORMAT, "MF_E_UNSUPPORTED_FORMAT", "the format is not supported"},
    Entry{MF_E_UNSUPPORTED_REPRESENTATION, "MF_E_UNSUPPORTED_REPRESENTATION", "the choice of streams is not supported"},
    Entry{MF_E_UNSUPPORTED_SCHEME, "MF_E_UNSUPPORTED_SCHEME", "the kind of URL is not supported"},
    Entry{MF_E_UNSUPPORTED_TIME_FORMAT, "MF_E_UNSUPPORTED_TIME_FORMAT", "the time format is not supported"},
};

std::string number(HRESULT code) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08lX", static_cast<unsigned long>(code));
    return text.data();
}

std::string systemWords(HRESULT code) {
    std::array<wchar_t, 512> text{};
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                       nullptr, static_cast<DWORD>(code), 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    std::wstring words(text.data(), length);
    words.erase(words.find_last_not_of(L" .\r\n") + 1);
    return toUtf8(words);
}

} // namespace

std::string hresultInWords(HRESULT code) {
    const auto* entry = std::ranges::find(entries, code, &Entry::code);
    if (entry != entries.end()) {
        return std::string(entry->symbol) + " (" + number(code) + "): " + entry->words;
    }
    const std::string words = systemWords(code);
    return number(code) + ": " + (words.empty() ? "an error that the system has no words for" : words);
}

} // namespace JY::Tools
