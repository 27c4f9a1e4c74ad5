#include "tests/support/TempFile.h"

#include <windows.h>

#include <atomic>
#include <fstream>
#include <stdexcept>

namespace JY::Test {

namespace {

std::filesystem::path uniquePath(std::wstring_view extension) {
    static std::atomic<unsigned> counter;
    wchar_t folder[MAX_PATH + 1];
    GetTempPathW(MAX_PATH + 1, folder);
    std::wstring name = L"jy-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                        std::to_wstring(GetTickCount64()) + L"-" + std::to_wstring(counter++);
    return std::filesystem::path(folder) / name.append(extension);
}

void writeFile(const std::filesystem::path& path, const Bytes& content, std::ios::openmode mode) {
    std::ofstream file(path, std::ios::binary | mode);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (!file) {
        throw std::runtime_error("A temporary file could not be written.");
    }
}

} // namespace

TempFile::TempFile(const Bytes& content, std::wstring_view extension) : path_(uniquePath(extension)) {
    write(content);
}

TempFile::~TempFile() {
    remove();
}

void TempFile::write(const Bytes& content) const {
    writeFile(path_, content, std::ios::trunc);
}

void TempFile::append(const Bytes& content) const {
    writeFile(path_, content, std::ios::app);
}

void TempFile::remove() const {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

TempFolder::TempFolder() : path_(uniquePath(L"")) {
    std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace JY::Test
