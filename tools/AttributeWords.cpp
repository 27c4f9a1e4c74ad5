#include "tools/AttributeWords.h"

#include "tools/Failure.h"
#include "tools/PropVariant.h"
#include "tools/Text.h"

#include <mfapi.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <span>

namespace JY::Tools {

namespace {

// Identifiers that not every compiler's headers have.
constexpr GUID aacProfileLevel{0x7632f0e6, 0x9538, 0x4d61, {0xac, 0xda, 0xea, 0x29, 0xc8, 0xc1, 0x44, 0x56}};
constexpr GUID aacPayloadType{0xbfbabe79, 0x7434, 0x4d1c, {0x94, 0xf0, 0x72, 0xa3, 0xb9, 0xe1, 0x71, 0x88}};
constexpr GUID videoRotation{0xc380465d, 0x2271, 0x428c, {0x9b, 0x83, 0xec, 0xea, 0x3b, 0x4a, 0x85, 0xc1}};

/// The common part of the identifiers that are made of a number or four characters.
constexpr GUID formatBase{0x00000000, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};

struct Word {
    unsigned value;
    const char* text;
};

std::string wordFor(std::span<const Word> words, unsigned value) {
    const auto found = std::ranges::find(words, value, &Word::value);
    return found != words.end() ? std::string(found->text) + " (" + std::to_string(value) + ")" : std::to_string(value);
}

UINT32 highPart(ULONGLONG value) {
    return static_cast<UINT32>(value >> 32U);
}

UINT32 lowPart(ULONGLONG value) {
    return static_cast<UINT32>(value & 0xFFFFFFFFU);
}

// How the value of one attribute is told. Each falls back to the plain value when its type is not the usual one.

std::string plain(const PROPVARIANT& value) {
    switch (value.vt) {
    case VT_UI4:
        return std::to_string(value.ulVal);
    case VT_UI8:
        return std::to_string(value.uhVal.QuadPart);
    case VT_R8: {
        std::array<char, 40> text{};
        std::snprintf(text.data(), text.size(), "%g", value.dblVal);
        return text.data();
    }
    case VT_CLSID:
        return mediaFormatInWords(*value.puuid);
    case VT_LPWSTR:
        return toUtf8(value.pwszVal);
    case VT_VECTOR | VT_UI1:
        return hexText({value.caub.pElems, value.caub.cElems});
    case VT_UNKNOWN:
        return "an object";
    default:
        return "a value of type " + std::to_string(value.vt);
    }
}

std::string withUnit(const PROPVARIANT& value, const char* unit) {
    return plain(value) + unit;
}

std::string hertz(const PROPVARIANT& value) {
    return withUnit(value, " Hz");
}

std::string bytesPerSecond(const PROPVARIANT& value) {
    return withUnit(value, " bytes a second");
}

std::string bitsPerSecond(const PROPVARIANT& value) {
    return withUnit(value, " bits a second");
}

std::string bits(const PROPVARIANT& value) {
    return withUnit(value, " bits");
}

std::string byteCount(const PROPVARIANT& value) {
    return withUnit(value, " bytes");
}

std::string degrees(const PROPVARIANT& value) {
    return withUnit(value, " degrees");
}

std::string yesNo(const PROPVARIANT& value) {
    return value.vt == VT_UI4 ? (value.ulVal != 0 ? "yes" : "no") : plain(value);
}

std::string size(const PROPVARIANT& value) {
    return value.vt == VT_UI8
               ? std::to_string(highPart(value.uhVal.QuadPart)) + " x " + std::to_string(lowPart(value.uhVal.QuadPart))
               : plain(value);
}

std::string ratio(const PROPVARIANT& value) {
    return value.vt == VT_UI8
               ? std::to_string(highPart(value.uhVal.QuadPart)) + ":" + std::to_string(lowPart(value.uhVal.QuadPart))
               : plain(value);
}

std::string frameRate(const PROPVARIANT& value) {
    if (value.vt != VT_UI8 || lowPart(value.uhVal.QuadPart) == 0) {
        return ratio(value);
    }
    const UINT32 numerator = highPart(value.uhVal.QuadPart);
    const UINT32 denominator = lowPart(value.uhVal.QuadPart);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%.6g frames a second (%u/%u)", double(numerator) / denominator, numerator,
                  denominator);
    return text.data();
}

std::string stride(const PROPVARIANT& value) {
    return value.vt == VT_UI4 ? std::to_string(static_cast<INT32>(value.ulVal)) + " bytes" : plain(value);
}

std::string channelMask(const PROPVARIANT& value) {
    constexpr std::array positions{
        "front left",     "front right",      "front centre",    "low frequency", "back left",       "back right",
        "left of centre", "right of centre",  "back centre",     "side left",     "side right",      "top centre",
        "top front left", "top front centre", "top front right", "top back left", "top back centre", "top back right"};
    if (value.vt != VT_UI4) {
        return plain(value);
    }
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "0x%lX", static_cast<unsigned long>(value.ulVal));
    std::string text;
    for (std::size_t bit = 0; bit < positions.size(); ++bit) {
        if ((value.ulVal >> bit & 1U) != 0) {
            text += text.empty() ? "" : ", ";
            text += positions[bit];
        }
    }
    return text.empty() ? std::string(number.data()) : text + " (" + number.data() + ")";
}

std::string interlaceMode(const PROPVARIANT& value) {
    constexpr std::array words{Word{0, "unknown"},
                               Word{2, "progressive"},
                               Word{3, "upper field first"},
                               Word{4, "lower field first"},
                               Word{5, "single upper field"},
                               Word{6, "single lower field"},
                               Word{7, "interlaced or progressive, as each frame says"}};
    return value.vt == VT_UI4 ? wordFor(words, value.ulVal) : plain(value);
}

std::string aacPayload(const PROPVARIANT& value) {
    constexpr std::array words{Word{0, "raw"}, Word{1, "ADTS"}, Word{2, "ADIF"}, Word{3, "LOAS"}};
    return value.vt == VT_UI4 ? wordFor(words, value.ulVal) : plain(value);
}

std::string videoProfile(const PROPVARIANT& value) {
    constexpr std::array words{Word{66, "H.264 baseline"},   Word{77, "H.264 main"},     Word{88, "H.264 extended"},
                               Word{100, "H.264 high"},      Word{110, "H.264 high 10"}, Word{122, "H.264 high 4:2:2"},
                               Word{244, "H.264 high 4:4:4"}};
    return value.vt == VT_UI4 ? wordFor(words, value.ulVal) : plain(value);
}

std::string yuvMatrix(const PROPVARIANT& value) {
    constexpr std::array words{Word{0, "unknown"}, Word{1, "BT.709"}, Word{2, "BT.601"}, Word{3, "SMPTE 240M"}};
    return value.vt == VT_UI4 ? wordFor(words, value.ulVal) : plain(value);
}

std::string nominalRange(const PROPVARIANT& value) {
    constexpr std::array words{Word{0, "unknown"}, Word{1, "0 to 255"}, Word{2, "16 to 235"}, Word{3, "48 to 208"}};
    return value.vt == VT_UI4 ? wordFor(words, value.ulVal) : plain(value);
}

struct Attribute {
    const GUID& identifier;
    const char* name;
    const char* words;
    std::string (*tell)(const PROPVARIANT&);
};

std::span<const Attribute> knownAttributes() {
    static const std::array known{
        Attribute{MF_MT_MAJOR_TYPE, "MF_MT_MAJOR_TYPE", "kind", plain},
        Attribute{MF_MT_SUBTYPE, "MF_MT_SUBTYPE", "format", plain},
        Attribute{MF_MT_ALL_SAMPLES_INDEPENDENT, "MF_MT_ALL_SAMPLES_INDEPENDENT", "every sample stands alone", yesNo},
        Attribute{MF_MT_FIXED_SIZE_SAMPLES, "MF_MT_FIXED_SIZE_SAMPLES", "samples of one size", yesNo},
        Attribute{MF_MT_COMPRESSED, "MF_MT_COMPRESSED", "compressed", yesNo},
        Attribute{MF_MT_SAMPLE_SIZE, "MF_MT_SAMPLE_SIZE", "sample size", byteCount},
        Attribute{MF_MT_AVG_BITRATE, "MF_MT_AVG_BITRATE", "average bit rate", bitsPerSecond},
        Attribute{MF_MT_USER_DATA, "MF_MT_USER_DATA", "format data", plain},
        Attribute{MF_MT_AUDIO_NUM_CHANNELS, "MF_MT_AUDIO_NUM_CHANNELS", "channels", plain},
        Attribute{MF_MT_AUDIO_CHANNEL_MASK, "MF_MT_AUDIO_CHANNEL_MASK", "speakers", channelMask},
        Attribute{MF_MT_AUDIO_SAMPLES_PER_SECOND, "MF_MT_AUDIO_SAMPLES_PER_SECOND", "sampling rate", hertz},
        Attribute{MF_MT_AUDIO_BITS_PER_SAMPLE, "MF_MT_AUDIO_BITS_PER_SAMPLE", "sample depth", bits},
        Attribute{MF_MT_AUDIO_AVG_BYTES_PER_SECOND, "MF_MT_AUDIO_AVG_BYTES_PER_SECOND", "average rate", bytesPerSecond},
        Attribute{MF_MT_AUDIO_BLOCK_ALIGNMENT, "MF_MT_AUDIO_BLOCK_ALIGNMENT", "block size", byteCount},
        Attribute{MF_MT_AUDIO_PREFER_WAVEFORMATEX, "MF_MT_AUDIO_PREFER_WAVEFORMATEX", "prefers WAVEFORMATEX", yesNo},
        Attribute{aacPayloadType, "MF_MT_AAC_PAYLOAD_TYPE", "AAC payload", aacPayload},
        Attribute{aacProfileLevel, "MF_MT_AAC_AUDIO_PROFILE_LEVEL_INDICATION", "AAC profile and level", plain},
        Attribute{MF_MT_FRAME_SIZE, "MF_MT_FRAME_SIZE", "frame size", size},
        Attribute{MF_MT_FRAME_RATE, "MF_MT_FRAME_RATE", "frame rate", frameRate},
        Attribute{MF_MT_PIXEL_ASPECT_RATIO, "MF_MT_PIXEL_ASPECT_RATIO", "pixel aspect ratio", ratio},
        Attribute{videoRotation, "MF_MT_VIDEO_ROTATION", "rotation", degrees},
        Attribute{MF_MT_INTERLACE_MODE, "MF_MT_INTERLACE_MODE", "interlacing", interlaceMode},
        Attribute{MF_MT_MPEG2_PROFILE, "MF_MT_MPEG2_PROFILE", "profile", videoProfile},
        Attribute{MF_MT_MPEG2_LEVEL, "MF_MT_MPEG2_LEVEL", "level", plain},
        Attribute{MF_MT_MPEG_SEQUENCE_HEADER, "MF_MT_MPEG_SEQUENCE_HEADER", "sequence header", plain},
        Attribute{MF_MT_YUV_MATRIX, "MF_MT_YUV_MATRIX", "colour matrix", yuvMatrix},
        Attribute{MF_MT_VIDEO_NOMINAL_RANGE, "MF_MT_VIDEO_NOMINAL_RANGE", "colour range", nominalRange},
        Attribute{MF_MT_DEFAULT_STRIDE, "MF_MT_DEFAULT_STRIDE", "bytes from row to row", stride},
    };
    return known;
}

/// "AAC1" for a number whose bytes are four printable characters.
std::string fourCharacters(DWORD number) {
    std::string text;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const auto character = static_cast<unsigned char>(number >> shift & 0xFFU);
        if (std::isprint(character) == 0) {
            return {};
        }
        text += static_cast<char>(character);
    }
    return text;
}

std::string formatNumberInWords(DWORD number) {
    struct Tag {
        DWORD number;
        const char* words;
    };
    constexpr std::array tags{Tag{0x0001, "PCM"},         Tag{0x0003, "PCM in floating point"},
                              Tag{0x0055, "MP3"},         Tag{0x00FF, "raw AAC"},
                              Tag{0x1600, "AAC in ADTS"}, Tag{0x1610, "AAC"},
                              Tag{0x34363248, "H.264"},   Tag{0x32315659, "YV12"}};
    const auto* known = std::ranges::find(tags, number, &Tag::number);
    if (known != tags.end()) {
        return known->words;
    }
    if (std::string characters = fourCharacters(number); !characters.empty()) {
        return characters;
    }
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "format 0x%lX", static_cast<unsigned long>(number));
    return text.data();
}

} // namespace

std::string mediaFormatInWords(const GUID& format) {
    if (format == MFMediaType_Audio) {
        return "audio";
    }
    if (format == MFMediaType_Video) {
        return "video";
    }
    GUID base = format;
    base.Data1 = 0;
    return base == formatBase ? formatNumberInWords(format.Data1) : guidText(format);
}

std::vector<AttributeFacts> describeAttributes(IMFAttributes& attributes) {
    UINT32 count = 0;
    check(attributes.GetCount(&count), "IMFAttributes::GetCount");
    std::vector<AttributeFacts> facts;
    for (UINT32 index = 0; index < count; ++index) {
        GUID identifier{};
        PropVariant value;
        check(attributes.GetItemByIndex(index, &identifier, value.put()), "IMFAttributes::GetItemByIndex");
        const auto known = knownAttributes();
        const auto found =
            std::ranges::find_if(known, [&](const Attribute& each) { return each.identifier == identifier; });
        if (found != known.end()) {
            facts.push_back({found->name, found->words, found->tell(*value)});
        } else {
            const std::string name = guidText(identifier);
            facts.push_back({name, name, plain(*value)});
        }
    }
    return facts;
}

} // namespace JY::Tools
