#pragma once

#include "tests/source/SourceTest.h"
#include "util/Handle.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace JY::Test {

/// What a request for a sample came to.
struct Answer {
    HRESULT result;
    LONGLONG milliseconds; ///< the sample's time; -1 without a sample
    Bytes bytes;           ///< the sample's content

    friend bool operator==(const Answer&, const Answer&) = default;
};
void PrintTo(const Answer& answer, std::ostream* out);

/// A program other than the module that has a file open for writing, as a recorder has.
class Writer {
public:
    explicit Writer(const std::wstring& path, DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE);

    void write(std::int64_t position, const Bytes& bytes) const;
    void cutAt(std::int64_t size) const;

private:
    void moveTo(std::int64_t position) const;

    Handle handle_;
};

/// A film of both kinds, a picture and a sound every second, to which things happen while it is played. Whatever has
/// happened, at the end of every test other threads get through, the source can be shut down, and that closes the file.
class FilmTest : public SourceTest {
protected:
    void TearDown() override;

    /// The film up to `lastSecond`; a shorter one is the beginning of a longer one.
    static FlvBuilder film(unsigned lastSecond);
    static std::size_t audioTagOf(unsigned second) { return videoTagOf(second) + 1; }
    /// Where the last byte of a tag's body is, which tells pictures, and sounds, apart.
    static std::int64_t lastByteOf(const FlvBuilder& layout, std::size_t tag);

    /// The sample of a picture whose last byte is `last`.
    static Bytes picture(std::uint8_t last);
    static Bytes sound(std::uint8_t last) { return {0x21, 0x10, last}; }
    static Answer failed(HRESULT result) { return {result, -1, {}}; }
    static std::string narrow(const std::wstring& text);

    /// Opens a file of this content and starts it at 0.
    void play(const Bytes& content);
    /// Ends the film, with the checks that end every test.
    void close();
    /// Starts from the stopped state and takes the streams, if the start succeeds.
    void restartAt(unsigned second);
    Answer nextPicture() { return request(*video.Get()); }
    Answer nextSound() { return request(*audio.Get()); }
    void expectPictures(unsigned first, unsigned last);
    void expectSounds(unsigned first, unsigned last);
    /// A request that fails, and its record.
    void expectFailure(const Answer& answer, HRESULT result, const std::string& text) const;
    /// The first record of severity "error".
    CapturedRecord errorRecord() const;

    /// Makes the film's file longer, up to the whole content given, of which it is the beginning.
    void grow(const Bytes& whole) const;
    void cutAt(std::int64_t size) const { Writer(path).cutAt(size); }
    void overwrite(std::int64_t position, const Bytes& bytes) const { Writer(path).write(position, bytes); }

    std::wstring path;
    Source source;
    Stream audio;
    Stream video;
    CapturedRecord failure; ///< of the last request

private:
    Answer request(IMFMediaStream& stream);
    void expectOthersGetThrough() const;
};

} // namespace JY::Test
