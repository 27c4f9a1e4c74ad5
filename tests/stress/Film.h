#pragma once

#include "tests/stress/FilmSamples.h"
#include "tests/support/TempFile.h"

#include <list>
#include <string>
#include <vector>

namespace JY::Test {

/// A film to be opened.
struct Film {
    std::wstring path;
    FilmSamples samples;

    std::wstring url() const { return L"file://" + path; }
    unsigned streams() const {
        return (samples.count(FilmSamples::audioStream) != 0 ? 1U : 0U) +
               (samples.count(FilmSamples::videoStream) != 0 ? 1U : 0U);
    }
};

/// Small films of every kind, made here, and real ones from the folder that the environment variable JY_MEDIA_DIR
/// names, if it names one.
class Films {
public:
    Films();

    const std::vector<Film>& good() const { return good_; }
    /// URLs of files that are there and cannot be opened as films.
    const std::vector<std::wstring>& badUrls() const { return badUrls_; }

private:
    void addBuilt(const Bytes& file);
    void addReal(const std::wstring& path);

    std::list<TempFile> files_;
    std::vector<Film> good_;
    std::vector<std::wstring> badUrls_;
};

} // namespace JY::Test
