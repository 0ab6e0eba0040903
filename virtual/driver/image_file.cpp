// SPDX-License-Identifier: MIT
// Files in, images out. Only regular files count: opening a pipe that is named like an image would wait for its writer.
// Tested by driver_feed_test.
#include "image_file.h"

#include "folder.h"
#include "pix.h"
#include "raw_pnm.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

namespace fs = std::filesystem;

bool is_image_name(const fs::path &path)
{
    constexpr std::array<std::string_view, 9> extensions{".png", ".jpg", ".jpeg", ".tif", ".tiff",
                                                         ".pnm", ".pbm", ".pgm",  ".ppm"};
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 'a' - 'A' : c); });
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

// Not for a link that leads nowhere.
bool leads_to_a_file(const fs::path &path)
{
    std::error_code error;
    return fs::is_regular_file(path, error);
}

pix_ptr flatten(Pix *image)
{
    const pix_ptr opaque = own(pixGetSpp(image) == 4 ? pixAlphaBlendUniform(image, 0xffffff00) : pixClone(image));
    const pix_ptr plain = own(pixRemoveColormap(opaque.get(), REMOVE_CMAP_BASED_ON_SRC));
    pix_ptr flat = own(pixGetDepth(plain.get()) == 32 ? pixClone(plain.get()) : pixConvertTo8(plain.get(), FALSE));
    pixSetResolution(flat.get(), pixGetXRes(image), pixGetYRes(image));
    return flat;
}

} // namespace

std::vector<std::string> list_images(const std::string &folder)
{
    std::vector<std::string> paths;
    try {
        for (const std::string &name : names_in(folder))
            if (const fs::path path = fs::path(folder) / name; is_image_name(path) && leads_to_a_file(path))
                paths.push_back(path.string());
    } catch (const std::system_error &error) {
        throw image_error(folder + ": " + error.code().message());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

pix_ptr read_image(const std::string &path)
{
    return with_image_errors(path, [&] {
        pix_ptr image = read_raw_pnm(path);
        return image != nullptr ? std::move(image) : flatten(own(pixRead(path.c_str())).get());
    });
}

} // namespace virtual_scanner
