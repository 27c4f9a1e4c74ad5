#pragma once

#include "config/RegInterface.h"
#include "config/SimpleRegKey.h"
#include "util/TextBuffer.h"

#include <functional>
#include <string>
#include <vector>

namespace JY::Test {

/// A registry that holds nothing and notes every call as a line, e.g. `setValue(HKCR/CLSID, name, "text", view=0)`.
/// `onCall`, when set, runs after the line is noted and may throw.
class RecordingRegistry final : public Utl::RegInterface {
public:
    std::vector<std::string> calls;
    std::function<void()> onCall;

    bool isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override {
        return note("isExist", root, path, viewFlags, TextBuffer() << name), false;
    }
    bool isExist(HKEY root, const std::wstring& path, REGSAM viewFlags) override {
        return note("isExist", root, path, viewFlags), false;
    }
    std::uint32_t getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override {
        return note("getUInt", root, path, viewFlags, TextBuffer() << name), 32U;
    }
    std::uint64_t getULongLong(HKEY root, const std::wstring& path, const std::wstring& name,
                               REGSAM viewFlags) override {
        return note("getULongLong", root, path, viewFlags, TextBuffer() << name), 64U;
    }
    std::wstring getString(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override {
        return note("getString", root, path, viewFlags, TextBuffer() << name), L"text";
    }
    Utl::ByteString getBinary(HKEY root, const std::wstring& path, const std::wstring& name,
                              REGSAM viewFlags) override {
        return note("getBinary", root, path, viewFlags, TextBuffer() << name), Utl::ByteString{1, 2};
    }
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const Utl::ByteString& value,
                  REGSAM viewFlags) override {
        note("setValue", root, path, viewFlags, TextBuffer() << name << ", " << value.size() << " bytes");
    }
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& value,
                  REGSAM viewFlags) override {
        note("setValue", root, path, viewFlags, TextBuffer() << name << ", \"" << value << "\"");
    }
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint32_t value,
                  REGSAM viewFlags) override {
        note("setValue", root, path, viewFlags, TextBuffer() << name << ", " << value << "u");
    }
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint64_t value,
                  REGSAM viewFlags) override {
        note("setValue", root, path, viewFlags, TextBuffer() << name << ", " << value << "ull");
    }
    void deleteValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override {
        note("deleteValue", root, path, viewFlags, TextBuffer() << name);
    }
    void deleteKey(HKEY root, const std::wstring& path, REGSAM viewFlags) override {
        note("deleteKey", root, path, viewFlags);
    }

private:
    void note(const char* operation, HKEY root, const std::wstring& path, REGSAM viewFlags,
              const TextBuffer& arguments = {}) {
        TextBuffer line;
        line << operation << "(" << Utl::SimpleRegKey(root, path).displayName();
        if (!arguments.empty()) {
            line << ", " << arguments.view();
        }
        line << ", view=" << viewFlags << ")";
        calls.push_back(line.str());
        if (onCall) {
            onCall();
        }
    }
};

} // namespace JY::Test
