#include "host/KDocWrapper.h"
#include "host/KelvraHelper.h"

#include <cmath>
#include <cstdint>

// A host button used as a progress bar: the plug-in paints straight into the
// button's image pixels (4 bytes each; only bytes 0..2 are written, byte 3 is
// left as it was). A pixel whose byte 0 is 255 is background, every other
// pixel belongs to the bar. Scripts run through the host's script utility.
//
// Robustness: the bar rectangle is found by scanning the pixels from both ends
// for the first bar pixel. An image with no bar pixel at all (every byte 0 is
// 255), with a non-positive row length or with a buffer smaller than one pixel
// has no bar; the painting operations then return false and write nothing.
// Writes are also kept inside the pixel buffer.

namespace {

struct Colour {
    unsigned char b0, b1, b2;
};

constexpr Colour kEmptyColour{48, 75, 105};
constexpr Colour kFilledColour{0, 110, 230};

// The bar's first and last column and row (both ends included) in an image.
struct BarRect {
    int firstColumn;
    int firstRow;
    int lastColumn;
    int lastRow;
};

bool isBarPixel(const unsigned char* pixels, std::uint32_t offset) { return !(pixels[offset] > 254); }

// Scans forward from the first pixel and backward from the last one for the
// first pixel that belongs to the bar; their columns and rows bound the bar.
// False when the image has no bar pixel or cannot hold one.
bool findBarRect(const KBitmap& image, BarRect& rect) {
    if (!image.m_pixels || image.m_rowBytes <= 0 || image.m_bufferSize < 4) return false;
    const std::uint32_t size = image.m_bufferSize;
    const std::uint32_t rowBytes = static_cast<std::uint32_t>(image.m_rowBytes);

    std::uint32_t first = 0;
    while (first + 4 <= size && !isBarPixel(image.m_pixels, first)) first += 4;
    if (first + 4 > size) return false;

    // The first scan found a bar pixel, so the backward one stops at it at the
    // latest.
    std::uint32_t last = size - 4;
    while (!isBarPixel(image.m_pixels, last)) last -= 4;

    rect.firstColumn = static_cast<int>((first % rowBytes) / 4);
    rect.firstRow = static_cast<int>(first / rowBytes);
    rect.lastColumn = static_cast<int>((last % rowBytes) / 4);
    rect.lastRow = static_cast<int>(last / rowBytes);
    return true;
}

// Paints one pixel's bytes 0..2. A pixel not wholly inside the buffer is left
// alone, and the result is false then.
bool paintPixel(const KBitmap& image, int row, int column, const Colour& colour) {
    const std::int64_t offset = std::int64_t(row) * image.m_rowBytes + std::int64_t(column) * 4;
    if (offset < 0 || offset + 4 > std::int64_t(image.m_bufferSize)) return false;
    unsigned char* pixel = image.m_pixels + offset;
    pixel[0] = colour.b0;
    pixel[1] = colour.b1;
    pixel[2] = colour.b2;
    return true;
}

// Paints the whole bar rectangle in one colour; false when there is no bar.
bool paintBar(const KBitmap& image, const Colour& colour) {
    BarRect rect;
    if (!findBarRect(image, rect)) return false;
    for (int row = rect.firstRow; row <= rect.lastRow; ++row) {
        for (int column = rect.firstColumn; column <= rect.lastColumn; ++column) paintPixel(image, row, column, colour);
    }
    return true;
}

// The image of a button that is to be painted, or an image without pixels.
KBitmap buttonImage(KWin* button) { return KelvraHelper::s_docWrapper->getButtonImage(button); }

}  // namespace

// Copies the button's name to its text and paints its whole bar empty. False
// for a null button, an image without pixels, or an image without a bar.
bool KelvraHelper::initProgressBar(KWin* button) {
    if (!button) return false;
    s_docWrapper->copyButtonNameToButtonText(button);
    const KBitmap image = buttonImage(button);
    if (!image.hasPixels()) return false;
    return paintBar(image, kEmptyColour);
}

// Takes over source's image and its second descriptor text (into the button's
// own text slot), then paints the bar empty. A button that already has pixels
// was prepared before: false, and neither window is changed.
bool KelvraHelper::initProgressBar2(KWin* button, KWin* source) {
    if (!button || !source) return false;
    if (buttonImage(button).hasPixels()) return false;
    s_docWrapper->swapWinText(button, kWinText, source, kWinDescriptorText2);
    s_docWrapper->swapWinImage(button, source);
    const KBitmap image = buttonImage(button);
    if (!image.hasPixels()) return false;
    return paintBar(image, kEmptyColour);
}

// Sets the button's text (at most 255 characters are kept). False for a null
// button or one without a text record.
bool KelvraHelper::setProgressBarText(KWin* button, const char* text) {
    if (!button || !s_docWrapper->getButtonText(button)) return false;
    s_docWrapper->setButtonText(button, text);
    return true;
}

// Paints the bar filled from its first column up to, not including, the fill
// end c1 + trunc((c2 - c1 + 1) * percent / 100), and empty from there to c2.
// The value is not clamped: below 0 the bar is all empty, above 100 the filled
// run goes on past the bar's right edge over the pixels that follow it in
// memory (never past the buffer's end). A NaN percent counts as 0. False for a
// null button, an image without pixels, or one without a bar.
bool KelvraHelper::setProgressBarPercentage(KWin* button, double percent) {
    if (!button) return false;
    const KBitmap image = buttonImage(button);
    if (!image.hasPixels()) return false;
    BarRect rect;
    if (!findBarRect(image, rect)) return false;

    const int c1 = rect.firstColumn;
    const int c2 = rect.lastColumn;
    double filled = std::trunc(double(c2 - c1 + 1) * (percent / 100.0));
    if (std::isnan(filled)) filled = 0.0;
    // No run can be longer than the buffer has pixels; bounding it keeps the
    // conversion to an integer defined for any value.
    const double longest = double(image.m_bufferSize / 4) + 1.0;
    if (filled > longest) filled = longest;
    if (filled < -longest) filled = -longest;
    const std::int64_t fillEnd = c1 + static_cast<std::int64_t>(filled);

    for (int row = rect.firstRow; row <= rect.lastRow; ++row) {
        for (std::int64_t column = c1; column < fillEnd; ++column) {
            if (!paintPixel(image, row, static_cast<int>(column), kFilledColour)) break;  // past the buffer's end
        }
        for (std::int64_t column = fillEnd < c1 ? c1 : fillEnd; column <= c2; ++column) {
            paintPixel(image, row, static_cast<int>(column), kEmptyColour);
        }
    }
    return true;
}

// Diagonal stripes 16 pixels wide for work of unknown length: in row r (first
// row r1) m starts at (r - r1 + phase) % 32, with the sign of the dividend; a
// column is filled when m > 15, and m becomes (m + 31) % 32 for the next one.
// Increasing phase by one moves the stripes by one pixel. False for a null
// button, an image without pixels, or one without a bar.
bool KelvraHelper::setProgressBarNoPercentage(KWin* button, int phase) {
    if (!button) return false;
    const KBitmap image = buttonImage(button);
    if (!image.hasPixels()) return false;
    BarRect rect;
    if (!findBarRect(image, rect)) return false;

    for (int row = rect.firstRow; row <= rect.lastRow; ++row) {
        int m = static_cast<int>((std::int64_t(row) - rect.firstRow + phase) % 32);
        for (int column = rect.firstColumn; column <= rect.lastColumn; ++column) {
            paintPixel(image, row, column, m > 15 ? kFilledColour : kEmptyColour);
            m = (m + 31) % 32;
        }
    }
    return true;
}

// Asks the host to run script; false while the script utility is not valid.
bool KelvraHelper::runKScript(const QMString& script) {
    if (!s_utilIsValid || !s_utilWrapper) return false;
    return s_utilWrapper->runKScript(s_utility, script);
}
