#include "WavAudio.h"

#include "HttpError.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <istream>
#include <limits>
#include <streambuf>

namespace {

constexpr std::size_t blockFrames = 65536;
// Room the resampler asks for beyond its output, so the result's buffer is never reallocated
// (which would briefly double an hour's 230 MB).
constexpr std::size_t resamplerSlack = 4096;

[[noreturn]] void unsupported(const std::string &what)
{
    throw HttpError(400, "Unsupported audio: " + what);
}

std::uint32_t le32(const unsigned char *p)
{
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 |
           std::uint32_t(p[3]) << 24;
}

std::uint16_t le16(const unsigned char *p)
{
    return std::uint16_t(p[0] | p[1] << 8);
}

// Reads in-memory bytes through the same path as a file, without copying them.
class ByteStreamBuf : public std::streambuf
{
public:
    explicit ByteStreamBuf(const std::string &bytes)
    {
        char *begin = const_cast<char *>(bytes.data());
        setg(begin, begin, begin + bytes.size());
    }
};

struct Format
{
    int channels = 0;
    int sampleRate = 0;
    // Bytes of sample data the header announces; the stream may hold fewer.
    std::uint64_t dataBytes = 0;
};

bool readExactly(std::istream &in, unsigned char *to, std::size_t count)
{
    in.read(reinterpret_cast<char *>(to), std::streamsize(count));
    return std::size_t(in.gcount()) == count;
}

void skip(std::istream &in, std::uint64_t count)
{
    in.ignore(std::streamsize(std::min<std::uint64_t>(count, std::numeric_limits<int64_t>::max())));
}

std::string describeFormatTag(unsigned tag)
{
    switch (tag) {
    case 3:
        return "32-bit float samples; send 16-bit PCM.";
    case 6:
    case 7:
        return "A-law or mu-law samples; send 16-bit PCM.";
    case 0x55:
        return "MP3 inside a WAV file; send 16-bit PCM.";
    default: {
        char hex[8];
        std::snprintf(hex, sizeof hex, "0x%04X", tag);
        return std::string("compressed WAV (format ") + hex + "); send 16-bit PCM.";
    }
    }
}

void checkFormatChunk(const unsigned char *fmt, std::size_t size, Format &format)
{
    if (size < 16)
        unsupported("the WAV format chunk is too short.");
    unsigned tag = le16(fmt);
    format.channels = le16(fmt + 2);
    format.sampleRate = int(le32(fmt + 4));
    const unsigned bits = le16(fmt + 14);
    if (tag == 0xFFFE) {
        // WAVE_FORMAT_EXTENSIBLE: the real format is the first two bytes of the sub-format
        // GUID, whose remaining bytes are the fixed KSDATAFORMAT suffix.
        static const unsigned char suffix[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
        if (size < 40 || std::memcmp(fmt + 26, suffix, sizeof suffix) != 0)
            unsupported("an extensible WAV file without a known sample format.");
        tag = le16(fmt + 24);
    }
    if (tag != 1)
        unsupported(describeFormatTag(tag));
    if (bits != 16)
        unsupported(std::to_string(bits) + "-bit samples; send 16-bit PCM.");
    if (format.channels == 0)
        unsupported("the WAV file has no channels.");
    if (format.channels > 32)
        unsupported(std::to_string(format.channels) + " channels; send mono or stereo.");
    if (format.sampleRate < 1000 || format.sampleRate > 384000)
        unsupported("a sample rate of " + std::to_string(format.sampleRate) + " Hz.");
}

// Walks the chunks up to the start of the sample data, leaving `in` there.
Format readHeader(std::istream &in)
{
    unsigned char riff[12];
    in.read(reinterpret_cast<char *>(riff), sizeof riff);
    const std::size_t got = std::size_t(in.gcount());
    if (got == 0)
        unsupported("the file is empty.");
    if (got < sizeof riff && std::memcmp(riff, "RIFF", std::min<std::size_t>(got, 4)) == 0)
        unsupported("the WAV header is cut short.");
    if (got < sizeof riff || std::memcmp(riff, "RIFF", 4) != 0 ||
        std::memcmp(riff + 8, "WAVE", 4) != 0)
        unsupported("not a WAV file.");
    Format format;
    bool haveFormat = false;
    for (;;) {
        unsigned char header[8];
        if (!readExactly(in, header, sizeof header))
            unsupported(haveFormat ? "the WAV file has no data chunk."
                                   : "the WAV header is cut short.");
        const std::uint32_t size = le32(header + 4);
        if (std::memcmp(header, "fmt ", 4) == 0) {
            if (size > 4096)
                unsupported("the WAV format chunk is malformed.");
            std::string fmt(size, '\0');
            if (!readExactly(in, reinterpret_cast<unsigned char *>(fmt.data()), size))
                unsupported("the WAV header is cut short.");
            checkFormatChunk(reinterpret_cast<const unsigned char *>(fmt.data()), size, format);
            haveFormat = true;
            skip(in, size & 1);
        } else if (std::memcmp(header, "data", 4) == 0) {
            if (!haveFormat)
                unsupported("the WAV data comes before its format chunk.");
            // Writers that stream leave the size at 0 or 0xFFFFFFFF; read to the end then.
            format.dataBytes = (size == 0 || size == 0xFFFFFFFF)
                                   ? std::numeric_limits<std::uint64_t>::max()
                                   : size;
            return format;
        } else {
            skip(in, std::uint64_t(size) + (size & 1)); // LIST, fact, bext, JUNK, ...
        }
    }
}

// Calls `sink(mono, count)` for each block of whole frames, mixed down to one channel.
template <typename Sink> void readSamples(std::istream &in, const Format &format, Sink sink)
{
    const std::size_t frameBytes = std::size_t(format.channels) * 2;
    std::vector<unsigned char> raw(blockFrames * frameBytes);
    std::vector<float> mono(blockFrames);
    std::uint64_t remaining = format.dataBytes;
    const float scale = 1.0f / (32768.0f * float(format.channels));
    while (remaining >= frameBytes) {
        const std::size_t want =
            std::size_t(std::min<std::uint64_t>(raw.size(), remaining / frameBytes * frameBytes));
        in.read(reinterpret_cast<char *>(raw.data()), std::streamsize(want));
        const std::size_t frames = std::size_t(in.gcount()) / frameBytes;
        for (std::size_t f = 0; f < frames; ++f) {
            const unsigned char *p = raw.data() + f * frameBytes;
            int sum = 0;
            for (int c = 0; c < format.channels; ++c, p += 2)
                sum += std::int16_t(le16(p));
            mono[f] = float(sum) * scale;
        }
        if (frames > 0)
            sink(mono.data(), frames);
        if (std::size_t(in.gcount()) < want)
            break; // cut short: keep what arrived
        remaining -= want;
    }
}

} // namespace

MonoAudio WavAudio::decode(const std::string &bytes)
{
    ByteStreamBuf buffer(bytes);
    std::istream in(&buffer);
    const Format format = readHeader(in);
    MonoAudio audio;
    audio.sampleRate = format.sampleRate;
    audio.samples.reserve(std::min<std::uint64_t>(bytes.size(), format.dataBytes) /
                          (format.channels * 2));
    readSamples(in, format, [&](const float *mono, std::size_t count) {
        audio.samples.insert(audio.samples.end(), mono, mono + count);
    });
    return audio;
}

MonoAudio WavAudio::decodeFile(const std::string &path, int targetRate,
                               StreamResampler::Quality quality)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw HttpError(404, "The recording " + path + " could not be opened.");
    const Format format = readHeader(in);
    MonoAudio audio;
    audio.sampleRate = targetRate;
    std::error_code error;
    const std::uint64_t fileSize = std::uint64_t(std::filesystem::file_size(path, error));
    if (!error) {
        const std::uint64_t frames =
            std::min(fileSize, format.dataBytes) / (std::uint64_t(format.channels) * 2);
        audio.samples.reserve(std::size_t(double(frames) * targetRate / format.sampleRate) +
                              resamplerSlack);
    }
    if (format.sampleRate == targetRate) {
        readSamples(in, format, [&](const float *mono, std::size_t count) {
            audio.samples.insert(audio.samples.end(), mono, mono + count);
        });
        return audio;
    }
    StreamResampler resampler(format.sampleRate, targetRate, quality);
    readSamples(in, format, [&](const float *mono, std::size_t count) {
        resampler.feed(mono, count, false, audio.samples);
    });
    resampler.feed(nullptr, 0, true, audio.samples);
    return audio;
}

MonoAudio WavAudio::resample(const MonoAudio &audio, int rate, StreamResampler::Quality quality)
{
    if (audio.sampleRate == rate || audio.samples.empty())
        return {rate, audio.samples};
    MonoAudio out;
    out.sampleRate = rate;
    StreamResampler resampler(audio.sampleRate, rate, quality);
    out.samples.reserve(std::size_t(double(audio.samples.size()) * resampler.ratio()) +
                        resamplerSlack);
    resampler.feed(audio.samples.data(), audio.samples.size(), true, out.samples);
    return out;
}

std::string WavAudio::encode16(const MonoAudio &audio)
{
    const std::uint32_t dataBytes = std::uint32_t(audio.samples.size() * 2);
    std::string out;
    out.reserve(44 + dataBytes);
    auto put32 = [&out](std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            out.push_back(char((v >> (8 * i)) & 0xFF));
    };
    auto put16 = [&out](std::uint16_t v) {
        out.push_back(char(v & 0xFF));
        out.push_back(char(v >> 8));
    };
    out += "RIFF";
    put32(36 + dataBytes);
    out += "WAVEfmt ";
    put32(16);
    put16(1); // PCM
    put16(1); // mono
    put32(std::uint32_t(audio.sampleRate));
    put32(std::uint32_t(audio.sampleRate) * 2);
    put16(2);
    put16(16);
    out += "data";
    put32(dataBytes);
    for (const float sample : audio.samples) {
        const float clamped = std::clamp(sample, -1.0f, 1.0f);
        put16(std::uint16_t(std::int16_t(std::lrint(clamped * 32767.0f))));
    }
    return out;
}
