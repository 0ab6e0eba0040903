// SPDX-License-Identifier: MIT
// Leptonica reads everything but PDF, out of which the compressed image is taken.
#include "image.h"

#include "scanimage.h"

#include <cmath>
#include <ostream>
#include <stdexcept>
#include <string>

namespace system_test {

namespace {

pix_ptr read_pdf_image(const std::string &path)
{
    const std::string text = read_file(path);
    const auto image = text.find("/Filter /DCTDecode");
    const auto start = text.find("\xff\xd8", image);
    const auto end = text.find("endstream", start);
    if (image == std::string::npos || start == std::string::npos || end == std::string::npos)
        return nullptr;
    return pix_ptr(pixReadMemJpeg(reinterpret_cast<const l_uint8 *>(&text[start]), end - start, 0, 1, nullptr, 0));
}

} // namespace

std::ostream &operator<<(std::ostream &out, const rgb &color)
{
    return out << '(' << color.red << ", " << color.green << ", " << color.blue << ')';
}

pix_ptr read_image(const std::string &path)
{
    if (path.size() > 4 && path.compare(path.size() - 4, 4, ".pdf") == 0)
        return read_pdf_image(path);
    return pix_ptr(pixRead(path.c_str()));
}

rgb color_at(Pix *image, double left_mm, double top_mm, double dpi)
{
    const auto x = static_cast<l_int32>(std::lround(left_mm * dpi / 25.4));
    const auto y = static_cast<l_int32>(std::lround(top_mm * dpi / 25.4));
    l_uint32 value = 0;
    if (pixGetPixel(image, x, y, &value) != 0)
        throw std::out_of_range("the page has no such point");
    if (pixGetDepth(image) == 1)
        return value != 0 ? black : white;
    if (pixGetDepth(image) == 8)
        return {static_cast<int>(value), static_cast<int>(value), static_cast<int>(value)};
    rgb color{};
    extractRGBValues(value, &color.red, &color.green, &color.blue);
    return color;
}

void write_gray_image(const std::string &path, int gray)
{
    const pix_ptr image(pixCreate(210, 297, 8));
    pixSetAllArbitrary(image.get(), static_cast<l_uint32>(gray));
    if (pixWrite(path.c_str(), image.get(), IFF_PNG) != 0)
        throw std::runtime_error("cannot write " + path);
}

} // namespace system_test
