#pragma once

#include <mfobjects.h>
#include <windows.h>

#include <string>
#include <vector>

namespace JY::Tools {

/// One attribute of a media type, for people.
struct AttributeFacts {
    /// "MF_MT_FRAME_SIZE", or the identifier of one that has no known name.
    std::string name;
    /// "frame size"; the same as `name` for one that has no known name.
    std::string words;
    /// "1280 x 720"
    std::string value;
};

/// Every attribute, in the order that the object gives them.
/// @throws Failure
std::vector<AttributeFacts> describeAttributes(IMFAttributes& attributes);

/// "audio", "H.264", "raw AAC": a major type or subtype in words; else the four characters or the number that it is
/// made of, else the identifier itself.
std::string mediaFormatInWords(const GUID& format);

} // namespace JY::Tools
