// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/captchapicture.h"

#include "emulator/service/values.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <png.h>
#include <random>
#include <vector>

namespace KelEmulator {

namespace {

constexpr int glyphWidth = 5;
constexpr int glyphHeight = 7;

struct Glyph
{
    char character;
    const char* rows[glyphHeight];
};

constexpr Glyph glyphs[] = {
    {'A', {" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"}},
    {'C', {" ####", "#    ", "#    ", "#    ", "#    ", "#    ", " ####"}},
    {'E', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"}},
    {'F', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#    "}},
    {'H', {"#   #", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"}},
    {'J', {"  ###", "    #", "    #", "    #", "    #", "#   #", " ### "}},
    {'K', {"#   #", "#  # ", "# #  ", "##   ", "# #  ", "#  # ", "#   #"}},
    {'L', {"#    ", "#    ", "#    ", "#    ", "#    ", "#    ", "#####"}},
    {'M', {"#   #", "## ##", "# # #", "# # #", "#   #", "#   #", "#   #"}},
    {'N', {"#   #", "##  #", "##  #", "# # #", "#  ##", "#  ##", "#   #"}},
    {'P', {"#### ", "#   #", "#   #", "#### ", "#    ", "#    ", "#    "}},
    {'R', {"#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #"}},
    {'T', {"#####", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  "}},
    {'U', {"#   #", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "}},
    {'W', {"#   #", "#   #", "#   #", "# # #", "# # #", "## ##", "#   #"}},
    {'X', {"#   #", "#   #", " # # ", "  #  ", " # # ", "#   #", "#   #"}},
    {'Y', {"#   #", "#   #", " # # ", "  #  ", "  #  ", "  #  ", "  #  "}},
    {'3', {"#### ", "    #", "    #", " ### ", "    #", "    #", "#### "}},
    {'4', {"#   #", "#   #", "#   #", "#####", "    #", "    #", "    #"}},
    {'6', {" ### ", "#    ", "#    ", "#### ", "#   #", "#   #", " ### "}},
    {'7', {"#####", "    #", "   # ", "   # ", "  #  ", "  #  ", "  #  "}},
    {'9', {" ### ", "#   #", "#   #", " ####", "    #", "    #", " ### "}},
};

const Glyph* glyphOf(char character)
{
    const auto found = std::find_if(std::begin(glyphs), std::end(glyphs), [=](const Glyph& glyph) {
        return glyph.character == character;
    });
    return found == std::end(glyphs) ? nullptr : found;
}

class Picture
{
public:
    explicit Picture(PictureSize size)
        : mSize(size), mRandom(randomBelow(UINT32_MAX)),
          mPixels(static_cast<size_t>(size.width) * static_cast<size_t>(size.height), 255)
    {
    }

    void addSpots();
    void addText(const std::string& text);
    std::string png() const;

private:
    int below(int limit) { return static_cast<int>(mRandom() % static_cast<unsigned>(limit)); }
    void fill(int left, int top, int width, int height, std::uint8_t grey);

    PictureSize mSize;
    std::minstd_rand mRandom;
    std::vector<std::uint8_t> mPixels;
};

void Picture::fill(int left, int top, int width, int height, std::uint8_t grey)
{
    for (int y = std::max(top, 0); y < std::min(top + height, mSize.height); ++y) {
        const auto row = mPixels.begin() + static_cast<std::ptrdiff_t>(y) * mSize.width;
        std::fill(row + std::clamp(left, 0, mSize.width),
                  row + std::clamp(left + width, 0, mSize.width), grey);
    }
}

void Picture::addSpots()
{
    constexpr int count = 40;
    for (int spot = 0; spot < count; ++spot) {
        const int size = 1 + below(std::max(mSize.height / 10, 2));
        const auto grey = static_cast<std::uint8_t>(170 + below(60));
        fill(below(mSize.width), below(mSize.height), size, size, grey);
    }
}

void Picture::addText(const std::string& text)
{
    // One column and one row of the font stay free around each character.
    const int columns = static_cast<int>(text.size()) * (glyphWidth + 1) + 1;
    const int scale =
        std::max(1, std::min(mSize.width / columns, mSize.height / (glyphHeight + 2)));
    int left = (mSize.width - columns * scale) / 2 + scale;
    const int room = std::max(1, mSize.height - glyphHeight * scale);
    for (const char character : text) {
        const Glyph* const glyph = glyphOf(character);
        const int top = below(room);
        for (int row = 0; glyph && row < glyphHeight; ++row) {
            for (int column = 0; column < glyphWidth; ++column) {
                if (glyph->rows[row][column] == '#')
                    fill(left + column * scale, top + row * scale, scale, scale, 0);
            }
        }
        left += (glyphWidth + 1) * scale;
    }
}

std::string Picture::png() const
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(mSize.width);
    image.height = static_cast<png_uint_32>(mSize.height);
    image.format = PNG_FORMAT_GRAY;
    png_alloc_size_t length = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(length, '\0');
    if (png_image_write_to_memory(&image, bytes.data(), &length, 0, mPixels.data(), 0, nullptr) ==
        0) {
        png_image_free(&image);
        return {};
    }
    bytes.resize(length);
    return bytes;
}

} // namespace

std::string randomCaptchaText(std::size_t length)
{
    std::string text;
    while (text.size() < length)
        text += glyphs[randomBelow(std::size(glyphs))].character;
    return text;
}

PictureSize captchaSize(PictureSize wanted)
{
    return {std::clamp(wanted.width, 50, 1000), std::clamp(wanted.height, 20, 500)};
}

std::string captchaPicture(const std::string& text, PictureSize size)
{
    Picture picture(size);
    picture.addSpots();
    picture.addText(text);
    return picture.png();
}

} // namespace KelEmulator
