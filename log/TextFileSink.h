#pragma once

#include "log/FileEraser.h"
#include "log/LineFormat.h"
#include "log/SinkBase.h"
#include "util/Handle.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace JY::Log2 {

/// Writes a ring of text files, directory\prefixN.log with N counted from 0, each of a limited size. Any thread. While
/// no file can be opened, records go to the debugger's output; one that cannot be written is lost. Writing never
/// throws.
class TextFileSink : public SinkBase {
public:
    /// Opens no file. Tokens and environment variables in `directoryPath` are replaced, and the directory is made.
    /// `maxEachSize` is in bytes, and passed by up to one record; `maxWrap` is the number of files; `eraser` (null for
    /// none) runs before each opening. Throws FatalException "Too large maxEachSize." above 0x40000000, ErrorException
    /// "Illegal % in log path.", and what createDirectories throws.
    TextFileSink(const std::wstring& directoryPath, std::wstring prefix, std::uint32_t maxEachSize,
                 std::uint32_t maxWrap, boost::shared_ptr<FileEraser> eraser);

    /// Goes on with the file of this prefix that the system lists first, or begins file 0, and records its path. Before
    /// that the first record begins file 1.
    void start();
    void flush() override;
    /// A record that comes later opens the next file.
    void close() override;

protected:
    void doWrite(const Record& record) override;

    /// For derived sinks, under the lock.
    /// @{
    /// Opens the file that `start` would choose.
    void openSelected();
    bool isOpen() const { return static_cast<bool>(file_); }
    /// Writes a record's line into the file, which changes when it is full. Throws what `onWritten` throws, and for
    /// want of memory.
    void writeLine(const Record& record);
    /// Receives the bytes that were written, piece by piece, after each line.
    virtual void onWritten(std::string_view) {}
    /// @}

private:
    enum class Content { keep, discard };

    std::uint32_t firstListedIndex() const;
    /// Every record looks at the size first, so a file can be longer than the limit by one record.
    bool isFull() const;
    void openNext();
    void open(Content content);
    bool openIn(const std::wstring& directory, Content content);
    void tidy();
    /// Returns what could be written of it.
    std::string_view writePiece(std::string_view piece);

    std::uint32_t fileIndex_ = 0;
    std::uint32_t maxWrap_;
    std::uint32_t maxEachSize_;
    std::vector<std::wstring> directories_; ///< tried in order
    std::wstring prefix_;
    boost::shared_ptr<FileEraser> eraser_;
    Handle file_;
    std::wstring path_; ///< of the open file
    SourceColumn column_{};
};

} // namespace JY::Log2
