// SPDX-License-Identifier: MIT
// Lines of a page into an image of Leptonica's, which writes the file. Its images are words of 32 bits with the first
// point in the highest bits, so bytes are exchanged on machines of the other order; SANE's black is 1 there, too.
// Tested by tests/tools/scan_test.cpp.
#include "failure.h"
#include "output_file.h"
#include "page.h"

#include <leptonica/allheaders.h>
#include <sane/sane.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <memory>

namespace inspect {

namespace {

struct pix_deleter {
    void operator()(Pix *pix) const { pixDestroy(&pix); }
};
using pix_ptr = std::unique_ptr<Pix, pix_deleter>;

const unsigned char *line_of(const page &scanned, int number)
{
    return scanned.data.data() +
           static_cast<std::size_t>(number) * static_cast<std::size_t>(scanned.parameters.bytes_per_line);
}

void copy_bytes(const page &scanned, Pix *pix)
{
    const int bytes = (scanned.parameters.pixels_per_line * scanned.parameters.depth + 7) / 8;
    for (int y = 0; y < scanned.parameters.lines; ++y)
        std::memcpy(pixGetData(pix) + std::size_t(y) * std::size_t(pixGetWpl(pix)), line_of(scanned, y),
                    static_cast<std::size_t>(bytes));
    pixEndianByteSwap(pix);
}

// SANE's samples of 16 bits are in the machine's order.
void copy_words(const page &scanned, Pix *pix)
{
    for (int y = 0; y < scanned.parameters.lines; ++y)
        for (int x = 0; x < scanned.parameters.pixels_per_line; ++x) {
            std::uint16_t sample = 0;
            std::memcpy(&sample, line_of(scanned, y) + 2 * std::size_t(x), sizeof(sample));
            SET_DATA_TWO_BYTES(pixGetData(pix) + std::size_t(y) * std::size_t(pixGetWpl(pix)), x, sample);
        }
}

void copy_colors(const page &scanned, Pix *pix)
{
    for (int y = 0; y < scanned.parameters.lines; ++y) {
        l_uint32 *const words = pixGetData(pix) + std::size_t(y) * std::size_t(pixGetWpl(pix));
        const unsigned char *sample = line_of(scanned, y);
        for (int x = 0; x < scanned.parameters.pixels_per_line; ++x, sample += 3)
            composeRGBPixel(sample[0], sample[1], sample[2], words + x);
    }
}

pix_ptr image_of(const page &scanned)
{
    const SANE_Parameters &parameters = scanned.parameters;
    const bool color = parameters.format == SANE_FRAME_RGB;
    pix_ptr pix(pixCreate(parameters.pixels_per_line, parameters.lines, color ? 32 : parameters.depth));
    if (pix == nullptr)
        throw failure(exit_status::output_failed, "there is no memory for the page's image");
    pixSetResolution(pix.get(), scanned.dpi, scanned.dpi);
    if (color)
        copy_colors(scanned, pix.get());
    else if (parameters.depth == 16)
        copy_words(scanned, pix.get());
    else
        copy_bytes(scanned, pix.get());
    return pix;
}

int leptonica_format(file_format format, int depth)
{
    if (format == file_format::png)
        return IFF_PNG;
    if (format == file_format::pnm)
        return IFF_PNM;
    return depth == 1 ? IFF_TIFF_G4 : IFF_TIFF_ZIP;
}

struct encoded_image {
    std::unique_ptr<l_uint8, decltype(&lept_free)> bytes;
    std::size_t size;
};

// In memory first: the image libraries have messages of their own for a full disk.
encoded_image encoded(const page &scanned, file_format format)
{
    const pix_ptr image = image_of(scanned);
    l_uint8 *bytes = nullptr;
    std::size_t size = 0;
    const int error = pixWriteMem(&bytes, &size, image.get(), leptonica_format(format, scanned.parameters.depth));
    encoded_image result{{bytes, lept_free}, size};
    if (error != 0)
        throw failure(exit_status::output_failed, "the page's image could not be made");
    return result;
}

} // namespace

file_format format_named(const std::string &word)
{
    if (word == "png")
        return file_format::png;
    if (word == "tiff" || word == "tif")
        return file_format::tiff;
    for (const char *name : {"pnm", "pbm", "pgm", "ppm"})
        if (word == name)
            return file_format::pnm;
    throw failure(exit_status::usage, fmt::format("\"{}\" is no known file format (png, tiff, pnm)", word));
}

file_format format_of_file(const std::string &path)
{
    std::string ending = std::filesystem::path(path).extension().string();
    if (ending.size() < 2)
        throw failure(exit_status::usage,
                      fmt::format("the name \"{}\" tells no file format: it is chosen with --format", path));
    ending.erase(0, 1);
    for (char &letter : ending)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return format_named(ending);
}

void write_page(const page &scanned, const std::string &path, file_format format)
{
    const encoded_image image = encoded(scanned, format);
    output_file file(path);
    std::fwrite(image.bytes.get(), 1, image.size, file.stream());
    file.commit();
}

} // namespace inspect
