// SPDX-License-Identifier: MIT
// A fuzzer's main where there is no fuzzing engine: runs the inputs of folders once each. A finding ends the process.
#include "input.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <vector>

namespace {

std::vector<char> content_of(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void run(const std::vector<char> &content)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()), content.size());
}

int run_folder(const char *folder)
{
    int inputs = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        std::printf("%s\n", entry.path().c_str());
        std::fflush(stdout); // the last line names the input that a finding ended with
        run(content_of(entry.path()));
        ++inputs;
    }
    return inputs;
}

} // namespace

int main(int argc, char **argv)
{
    int inputs = 0;
    for (int i = 1; i < argc; ++i)
        inputs += run_folder(argv[i]);
    run({});
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
