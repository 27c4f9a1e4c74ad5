#include "log/TextFileSink.h"

#include "util/ApiErrorException.h"
#include "util/DebugOutput.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/FileSearch.h"
#include "util/Path.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <mutex>
#include <utility>

namespace JY::Log2 {

namespace {

constexpr SourceFile here{"TextFileSink"};
constexpr int selectedFileLine = 60;
constexpr std::uint32_t largestEachSize = 0x40000000;

std::wstring checkedDirectory(const std::wstring& path) {
    std::wstring expanded = expandPath(path);
    if (expanded.find(L'%') != std::wstring::npos) {
        throw ErrorException(here(), "Illegal % in log path.");
    }
    return expanded;
}

std::uint32_t checkedEachSize(std::uint32_t size) {
    if (size > largestEachSize) {
        throw FatalException(here(), "Too large maxEachSize.");
    }
    return size;
}

} // namespace

TextFileSink::TextFileSink(const std::wstring& directoryPath, std::wstring prefix, std::uint32_t maxEachSize,
                           std::uint32_t maxWrap, boost::shared_ptr<FileEraser> eraser)
    : maxWrap_(maxWrap), maxEachSize_(checkedEachSize(maxEachSize)), directories_{checkedDirectory(directoryPath)},
      prefix_(std::move(prefix)), eraser_(std::move(eraser)) {
    createDirectories(directories_.front());
}

void TextFileSink::start() {
    const std::lock_guard guard(lock_);
    openSelected();
    TextBuffer message;
    message << "TextFileSink selectedFile=" << path_;
    write(makeRecord(here.at(selectedFileLine), Severity::notice, message.view()));
}

void TextFileSink::flush() {
    const std::lock_guard guard(lock_);
    if (file_) {
        FlushFileBuffers(file_.get());
    }
}

void TextFileSink::close() {
    if (isAbandoned()) {
        return;
    }
    const std::lock_guard guard(lock_);
    file_.reset();
}

void TextFileSink::doWrite(const Record& record) {
    try {
        writeLine(record);
    } catch (...) {
        // A log that fails must not fail its caller.
    }
}

void TextFileSink::openSelected() {
    fileIndex_ = firstListedIndex();
    open(Content::keep);
}

void TextFileSink::writeLine(const Record& record) {
    if (!isOpen() || isFull()) {
        openNext();
    }
    if (!isOpen()) {
        sendToDebugger(record, column_);
        return;
    }
    TextBuffer head;
    appendLineHead(head, record, column_);
    // The whole line is written before anybody is told, so that whoever fails on it leaves no line unended.
    const std::array<std::string_view, 3> pieces{writePiece(head.view()), writePiece(record.message),
                                                 writePiece("\r\n")};
    for (const std::string_view piece : pieces) {
        onWritten(piece);
    }
}

std::uint32_t TextFileSink::firstListedIndex() const {
    const std::vector<FoundFile> files = findFiles(directories_.front(), prefix_ + L"*.log");
    if (files.empty()) {
        return 0;
    }
    const std::wstring& name = files.front().name;
    const std::wstring number = name.substr(std::min(prefix_.size(), name.size()));
    return static_cast<std::uint32_t>(std::wcstol(number.c_str(), nullptr, 0));
}

bool TextFileSink::isFull() const {
    DWORD high = 0;
    // When the size cannot be had, the low half is INVALID_FILE_SIZE, which is above every limit.
    const DWORD low = GetFileSize(file_.get(), &high);
    return high != 0 || low > maxEachSize_;
}

void TextFileSink::openNext() {
    fileIndex_ = maxWrap_ != 0 ? (fileIndex_ + 1) % maxWrap_ : 0;
    open(Content::discard);
}

void TextFileSink::open(Content content) {
    file_.reset();
    path_.clear();
    tidy();
    for (const std::wstring& directory : directories_) {
        if (openIn(directory, content)) {
            return;
        }
    }
}

bool TextFileSink::openIn(const std::wstring& directory, Content content) {
    try {
        createDirectories(directory);
    } catch (const Exception&) {
        // The opening fails and tells why.
    }
    std::wstring path = directory + L'\\' + prefix_ + std::to_wstring(static_cast<std::int32_t>(fileIndex_)) + L".log";
    Handle file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            content == Content::keep ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        debugOutput("%s", describeSystemError(GetLastError()).c_str());
        return false;
    }
    if (content == Content::keep) {
        SetFilePointer(file.get(), 0, nullptr, FILE_END);
    }
    file_ = std::move(file);
    path_ = std::move(path);
    return true;
}

void TextFileSink::tidy() {
    try {
        if (eraser_ != nullptr) {
            eraser_->erase();
        }
    } catch (...) {
        // A folder that is too large can still be written to.
    }
}

std::string_view TextFileSink::writePiece(std::string_view piece) {
    DWORD written = 0;
    WriteFile(file_.get(), piece.data(), static_cast<DWORD>(piece.size()), &written, nullptr);
    return piece.substr(0, written);
}

} // namespace JY::Log2
