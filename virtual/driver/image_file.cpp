// SPDX-License-Identifier: MIT
// Files in, images out. Leptonica says why it cannot read a file by printing; while a file is read its messages are
// collected for the log instead.
#include "image_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace virtual_scanner {

namespace {

namespace fs = std::filesystem;

thread_local std::string *messages = nullptr;

void collect_message(const char *text)
{
    // The first message is the closest to the cause; the others only name the callers.
    if (messages != nullptr && messages->empty())
        *messages = text;
}

// Takes Leptonica's messages for as long as the library is loaded.
class message_handler {
public:
    message_handler() { leptSetStderrHandler(collect_message); }
    ~message_handler() { leptSetStderrHandler(nullptr); }
    message_handler(const message_handler &) = delete;
    message_handler &operator=(const message_handler &) = delete;
};

const message_handler handler;

class collected_messages {
public:
    collected_messages() { messages = &text_; }
    ~collected_messages() { messages = nullptr; }
    collected_messages(const collected_messages &) = delete;
    collected_messages &operator=(const collected_messages &) = delete;

    [[nodiscard]] std::string reason() const
    {
        const std::string line = text_.substr(0, text_.find('\n'));
        return line.empty() ? "it is no image that can be read" : line;
    }

private:
    std::string text_;
};

bool is_image_name(const fs::path &path)
{
    constexpr std::array<std::string_view, 9> extensions{".png", ".jpg", ".jpeg", ".tif", ".tiff",
                                                         ".pnm", ".pbm", ".pgm",  ".ppm"};
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 'a' - 'A' : c); });
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
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
    std::error_code error;
    std::vector<std::string> paths;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (is_image_name(entry->path()))
            paths.push_back(entry->path().string());
    if (error)
        throw image_error(folder + ": " + error.message());
    std::sort(paths.begin(), paths.end());
    return paths;
}

pix_ptr read_image(const std::string &path)
{
    const collected_messages collected;
    const pix_ptr image(pixRead(path.c_str()));
    if (image == nullptr)
        throw image_error(path + ": " + collected.reason());
    return flatten(image.get());
}

} // namespace virtual_scanner
