#pragma once

#include "tests/media/CheckedPlayback.h"
#include "tests/support/Bytes.h"
#include "tests/tools/TestFilm.h"

#include <windows.h>

#include <cstdint>
#include <map>
#include <vector>

namespace JY::Test {

/// The samples that a film of the matrix must give from a place in the file on, made of the packets that ffprobe tells
/// of: each stream's, in their order.
///
/// What ffprobe tells is what the file says, with three exceptions that matter here. Composition offsets come as
/// presentation times, so that the offset is the difference of a packet's two times. The tags that hold a decoder's
/// parameters are no packets; ffprobe tells the parameters beside them. Times are not cut to 32 bits of microseconds,
/// as those of samples are.
class ProbedAccount {
public:
    /// `from` is where the first tag to be played starts. A packet whose payload is not in the file where ffprobe says,
    /// by its hash, is a failure of the test.
    ProbedAccount(const Tools::TestFilm& film, const Bytes& file, std::uint64_t from = 0);

    const std::vector<PlayedSample>& samples(DWORD stream) { return samples_[stream]; }

private:
    void addPictures(const Tools::ProbedPacket& packet, const Bytes& payload);
    void addSound(const Tools::ProbedPacket& packet, const Bytes& payload);
    void add(DWORD stream, Bytes bytes, LONGLONG milliseconds, bool cleanPoint);

    bool isAac_;
    Bytes parameterSets_;
    std::map<DWORD, LONGLONG> lastTime_;
    std::map<DWORD, std::vector<PlayedSample>> samples_;
};

} // namespace JY::Test
