#include "tests/module/ModuleLog.h"

#include "util/Handle.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace JY::Test {

namespace {

std::string prefix() {
    return "JyFlvSource-" + std::to_string(GetCurrentProcessId()) + "-";
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

} // namespace

std::vector<std::string> ModuleLog::fileNames() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

std::string ModuleLog::read(const std::string& fileName) const {
    std::ifstream file(std::filesystem::path(folder_.path()) / fileName, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool ModuleLog::isHeld(const std::string& fileName) const {
    const auto path = std::filesystem::path(folder_.path()) / fileName;
    const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    return !file && GetLastError() == ERROR_SHARING_VIOLATION;
}

std::string ModuleLog::text() const {
    std::string text;
    for (const std::string& name : fileNames()) {
        if (name.starts_with(prefix()) && isDigit(name[prefix().size()])) {
            text += read(name);
        }
    }
    return text;
}

std::string ModuleLog::snapshotText() const {
    std::string text;
    for (const std::string& name : fileNames()) {
        if (name.starts_with(prefix() + "s-")) {
            text += read(name);
        }
    }
    return text;
}

std::size_t ModuleLog::count(const std::string& part) const {
    return countIn(text(), part);
}

std::size_t countIn(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto place = text.find(part); place != std::string::npos; place = text.find(part, place + part.size())) {
        ++count;
    }
    return count;
}

std::string logFileName(unsigned index) {
    return prefix() + std::to_string(index) + ".log";
}

std::string snapshotFileName(unsigned index) {
    return prefix() + "s-" + std::to_string(index) + ".log";
}

} // namespace JY::Test
