// How files are opened, for themselves and for their identity.

#include "tests/support/ImportPatch.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/File.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using JY::File;
using JY::PathDisplay;
using JY::Test::countOpenHandles;
using JY::Test::ImportPatch;
using JY::Test::TempFile;

struct Opening {
    std::wstring path;
    DWORD access;
    DWORD share;
    DWORD disposition = OPEN_EXISTING;
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
    bool hasSecurity = false;
    bool hasTemplate = false;

    friend bool operator==(const Opening&, const Opening&) = default;
};

/// Notes how files are opened, and opens them.
class OpeningNotes {
public:
    OpeningNotes() {
        openings.clear();
        current_ = this;
    }
    static inline std::vector<Opening> openings;

private:
    static HANDLE WINAPI note(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE templateFile) {
        openings.push_back({path, access, share, disposition, flags, security != nullptr, templateFile != nullptr});
        return current_->patch_.callOriginal(path, access, share, security, disposition, flags, templateFile);
    }

    static inline const OpeningNotes* current_;
    ImportPatch<decltype(&CreateFileW)> patch_{"CreateFileW", &note};
};

BOOL WINAPI failQuery(HANDLE, BY_HANDLE_FILE_INFORMATION*) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
}

} // namespace

TEST(FileCalls, ExistingFileIsOpenedWithTheAccessAndShareModeGiven) {
    const TempFile temp;
    const OpeningNotes notes;
    const File file(temp.path(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(OpeningNotes::openings, (std::vector<Opening>{{temp.path(), 0x80000000, 3}}));
}

TEST(FileCalls, IdentityIsReadWithAccessToAttributesOnlyAndSharedWithEverybody) {
    const TempFile temp;
    const OpeningNotes notes;
    File::getFileId(temp.path());
    EXPECT_EQ(OpeningNotes::openings, (std::vector<Opening>{{temp.path(), 128, 7}}));
}

TEST(FileCalls, DescriptionWithAHiddenPathOpensTheFileAnew) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, FILE_SHARE_READ, PathDisplay::hidden);
    const OpeningNotes notes;
    file.describe();
    EXPECT_EQ(OpeningNotes::openings, (std::vector<Opening>{{temp.path(), 128, 7}}));
}

TEST(FileCalls, DescriptionThatShowsThePathOpensNothing) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, FILE_SHARE_READ);
    const OpeningNotes notes;
    file.describe();
    EXPECT_TRUE(OpeningNotes::openings.empty());
}

TEST(FileCalls, DescriptionOfAHiddenFileWhoseIdentityIsRefusedIsThePathObscured) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, FILE_SHARE_READ, PathDisplay::hidden);
    const ImportPatch<decltype(&GetFileInformationByHandle)> patch("GetFileInformationByHandle", &failQuery);
    EXPECT_EQ(file.describe(), L" data=" + JY::obscurePath(temp.path()));
}

TEST(FileCalls, IdentityAndDescriptionLeaveNoHandleOpen) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, FILE_SHARE_READ, PathDisplay::hidden);
    file.describe();
    const std::size_t before = countOpenHandles();
    file.describe();
    File::getFileId(temp.path());
    const ImportPatch<decltype(&GetFileInformationByHandle)> patch("GetFileInformationByHandle", &failQuery);
    file.describe();
    EXPECT_THROW(File::getFileId(temp.path()), JY::ApiErrorException);
    EXPECT_EQ(countOpenHandles(), before);
}
