#include "ScreenTextReader.h"

#include "HttpError.h"

#include <leptonica/allheaders.h>
#include <omp.h>
#include <tesseract/baseapi.h>

namespace {

// Leptonica images are C structs released through a pointer to the pointer.
struct PixDeleter
{
    void operator()(Pix *pix) const { pixDestroy(&pix); }
};
using PixPtr = std::unique_ptr<Pix, PixDeleter>;

// Screenshots carry no resolution; UI text is drawn for about this many pixels per inch.
constexpr int screenDpi = 96;

// Screens mix dark text on light panels with light text on dark title bars, buttons and
// terminals. Tesseract binarises with one threshold for the page and then drops whole light-on-
// dark regions (a test screenshot lost 24 of 68 words). Each pixel becomes its distance from
// the local background instead: text of either polarity turns dark on white. The background
// is the median of a 22 px window, which follows panel edges and ignores the thinner strokes
// of text; it is taken at half size to stay cheap (~70 ms for 1567x979).
PixPtr darkTextOnWhite(Pix *grey)
{
    if (pixGetWidth(grey) < 64 || pixGetHeight(grey) < 64)
        return nullptr;
    const PixPtr half(pixScaleAreaMap2(grey));
    const PixPtr halfBackground(half ? pixRankFilterGray(half.get(), 11, 11, 0.5f) : nullptr);
    const PixPtr background(
        halfBackground ? pixScaleToSize(halfBackground.get(), pixGetWidth(grey), pixGetHeight(grey))
                       : nullptr);
    PixPtr contrast(background ? pixAbsDifference(grey, background.get()) : nullptr);
    if (!contrast)
        return nullptr;
    pixMultConstantGray(contrast.get(), 2.0f); // faint grey text reads as well as black
    pixInvert(contrast.get(), contrast.get());
    return contrast;
}

} // namespace

ScreenTextReader::ScreenTextReader() = default;
ScreenTextReader::~ScreenTextReader()
{
    if (m_api)
        m_api->End();
}

std::string ScreenTextReader::description() const
{
    return std::string("tesseract ") + tesseract::TessBaseAPI::Version() + " (eng)";
}

void ScreenTextReader::load()
{
    if (m_api || m_loadFailed)
        return;
    // Tesseract's OpenMP threads fight over the cores instead of sharing them: on two busy
    // cores a screenshot took 2-3 s with them and 0.3-0.6 s without. This turns OpenMP
    // parallelism off process-wide; nothing else in the server uses it.
    omp_set_max_active_levels(0);
    // Leptonica reports undecodable images on stderr; read() reports them to the client.
    setMsgSeverity(L_SEVERITY_NONE);
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    if (api->Init(nullptr, "eng") != 0) {
        m_loadFailed = true;
        return;
    }
    api->SetPageSegMode(tesseract::PSM_AUTO);
    api->SetVariable("debug_file", "/dev/null"); // "Empty page!!" and the like
    m_api = std::move(api);
}

std::string ScreenTextReader::read(const std::string &jpeg)
{
    if (jpeg.empty())
        throw HttpError(400, "Unsupported image: it is empty");
    PixPtr decoded(pixReadMem(reinterpret_cast<const l_uint8 *>(jpeg.data()), jpeg.size()));
    if (!decoded)
        throw HttpError(400, "Unsupported image: it could not be decoded as a JPEG picture");
    const int width = pixGetWidth(decoded.get());
    const int height = pixGetHeight(decoded.get());
    if (width <= 0 || height <= 0 || (long long)width * height > maxPixels)
        throw HttpError(400, "Unsupported image: " + std::to_string(width) + "×" +
                                 std::to_string(height) + " pixels is too large to read");

    PixPtr grey(pixConvertTo8(decoded.get(), 0));
    if (!grey)
        throw HttpError(400, "Unsupported image: its colours could not be converted");
    decoded.reset();
    if (PixPtr flat = darkTextOnWhite(grey.get()))
        grey = std::move(flat);
    const float scale = width <= upscaleWidthLimit ? 2.0f : 1.0f;
    PixPtr scaled(scale == 1.0f ? pixClone(grey.get()) : pixScale(grey.get(), scale, scale));
    if (!scaled)
        throw HttpError(400, "Unsupported image: it could not be scaled for reading");
    grey.reset();

    const std::lock_guard lock(m_lock);
    load();
    if (!m_api)
        throw HttpError(503, "Screen reading is unavailable: Tesseract could not load its "
                             "English data (package tesseract-ocr-eng)");
    m_api->SetImage(scaled.get());
    m_api->SetSourceResolution(int(screenDpi * scale));
    const std::unique_ptr<char[]> text(m_api->GetUTF8Text());
    m_api->Clear();
    if (!text)
        return {};

    // Tesseract separates blocks with blank lines and pads with whitespace.
    std::string result;
    std::string line;
    for (const char *c = text.get();; ++c) {
        if (*c == '\n' || *c == '\0') {
            const auto begin = line.find_first_not_of(" \t\f\r");
            if (begin != std::string::npos) {
                result += line.substr(begin, line.find_last_not_of(" \t\f\r") - begin + 1);
                result += '\n';
            }
            line.clear();
            if (*c == '\0')
                break;
        } else {
            line += *c;
        }
    }
    return result;
}
