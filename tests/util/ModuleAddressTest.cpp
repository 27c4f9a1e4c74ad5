// Code addresses of a module that stands in memory as the test made it.

#include "tests/support/ImportPatch.h"
#include "util/CallStack.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using JY::describeModuleAddress;
using JY::Test::ImportPatch;

struct Section {
    DWORD address;
    DWORD virtualSize;
    DWORD rawSize;
};

/// A module of these sections, the only one that the system finds as long as it lives.
class FakeModule {
public:
    explicit FakeModule(const std::vector<Section>& sections, std::string path = "C:\\folder\\fake.dll")
        : image_(0x4000) {
        base_ = image_.data();
        path_ = std::move(path);
        IMAGE_DOS_HEADER dos{};
        dos.e_lfanew = 0x80;
        write(0, dos);
        IMAGE_NT_HEADERS headers{};
        headers.FileHeader.NumberOfSections = static_cast<WORD>(sections.size());
        headers.FileHeader.SizeOfOptionalHeader = sizeof headers.OptionalHeader;
        write(0x80, headers);
        std::size_t place = 0x80 + sizeof headers;
        for (const Section& section : sections) {
            IMAGE_SECTION_HEADER header{};
            header.VirtualAddress = section.address;
            header.Misc.VirtualSize = section.virtualSize;
            header.SizeOfRawData = section.rawSize;
            write(place, header);
            place += sizeof header;
        }
    }

    std::string describe(std::size_t offset) const { return describeModuleAddress(image_.data() + offset); }

    static inline DWORD flags;
    static inline DWORD pathSize;

private:
    template <class Header>
    void write(std::size_t place, const Header& header) {
        std::memcpy(image_.data() + place, &header, sizeof header);
    }
    static BOOL WINAPI findModule(DWORD asked, const char*, HMODULE* module) {
        flags = asked;
        *module = reinterpret_cast<HMODULE>(base_);
        return TRUE;
    }
    static DWORD WINAPI findPath(HMODULE module, char* path, DWORD size) {
        EXPECT_EQ(module, reinterpret_cast<HMODULE>(base_));
        pathSize = size;
        std::copy_n(path_.c_str(), path_.size() + 1, path);
        return static_cast<DWORD>(path_.size());
    }

    static inline std::byte* base_;
    static inline std::string path_;
    std::vector<std::byte> image_;
    ImportPatch<decltype(&GetModuleHandleExA)> modules_{"GetModuleHandleExA", &findModule};
    ImportPatch<decltype(&GetModuleFileNameA)> paths_{"GetModuleFileNameA", &findPath};
};

} // namespace

TEST(ModuleAddress, IsLookedUpWithoutKeepingTheModuleLoaded) {
    const FakeModule module({{0x1000, 0x10, 0}});
    module.describe(0x1000);
    EXPECT_EQ(FakeModule::flags, 0x6U); // by address, reference count unchanged
    EXPECT_EQ(FakeModule::pathSize, 260U);
}

TEST(ModuleAddress, SectionReachesUpToTheLargerOfItsSizesAndOneByteMore) {
    const FakeModule module({{0x1000, 0x10, 0x20}, {0x2000, 0x30, 0x20}});
    EXPECT_EQ(module.describe(0xFFF), "Fail3");
    EXPECT_EQ(module.describe(0x1000), "1:0(fake.dll)");
    EXPECT_EQ(module.describe(0x1020), "1:20(fake.dll)");
    EXPECT_EQ(module.describe(0x1021), "Fail3");
    EXPECT_EQ(module.describe(0x2000), "2:0(fake.dll)");
    EXPECT_EQ(module.describe(0x2030), "2:30(fake.dll)");
    EXPECT_EQ(module.describe(0x2031), "Fail3");
}

TEST(ModuleAddress, BelongsToTheFirstOfTwoSectionsThatHaveIt) {
    const FakeModule module({{0x1000, 0x20, 0}, {0x1020, 0x20, 0}});
    EXPECT_EQ(module.describe(0x1020), "1:20(fake.dll)");
    EXPECT_EQ(module.describe(0x1021), "2:1(fake.dll)");
}

TEST(ModuleAddress, SectionIsNumberedInHexadecimalDigitsFromOne) {
    std::vector<Section> sections;
    for (DWORD index = 0; index < 17; ++index) {
        sections.push_back({0x1000 + index * 0x100, 0x10, 0});
    }
    const FakeModule module(sections);
    EXPECT_EQ(module.describe(0x1000 + 16 * 0x100 + 0xB), "11:b(fake.dll)");
}

TEST(ModuleAddress, ModuleWithoutSectionsHasNoPlaceForIt) {
    EXPECT_EQ(FakeModule({}).describe(0x1000), "Fail3");
}

TEST(ModuleAddress, FileNameWithoutAFolderIsShownWhole) {
    EXPECT_EQ(FakeModule({{0x1000, 0x10, 0}}, "plain.exe").describe(0x1001), "1:1(plain.exe)");
}
