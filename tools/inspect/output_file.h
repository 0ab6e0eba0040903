// SPDX-License-Identifier: MIT
// A file that appears under its name when it is complete, and not before.
#ifndef PELSANE_INSPECT_OUTPUT_FILE_H
#define PELSANE_INSPECT_OUTPUT_FILE_H

#include <cstdio>
#include <memory>
#include <string>

namespace inspect {

class output_file {
public:
    // Begins a new file beside the one of that name. What is no regular file is written to directly, as is standard
    // output, which is "-". Throws failure.
    explicit output_file(const std::string &path);
    // Takes the new file away if it was not committed.
    ~output_file();
    output_file(const output_file &) = delete;
    output_file &operator=(const output_file &) = delete;

    // Open for writing; closed by the object.
    [[nodiscard]] std::FILE *stream() const { return stream_.get(); }

    // Gives the file its name. Throws failure when anything could not be written.
    void commit();

private:
    static int close(std::FILE *stream) { return stream != stdout ? std::fclose(stream) : 0; }
    struct closer {
        void operator()(std::FILE *stream) const { close(stream); }
    };

    std::string path_;
    std::string partial_; // empty: path_ is written to
    std::unique_ptr<std::FILE, closer> stream_;
};

[[nodiscard]] bool is_standard_output(const std::string &path);

// Throws failure when no file can be made under that name, before much is done for it.
void require_place_for(const std::string &path);

// Throws failure when both JSON and a file would go to standard output.
void require_one_output(const std::string &path, bool json);

} // namespace inspect

#endif
