// Runs a fuzz target over the files given (a folder stands for the files in it, in name order),
// each once, without libFuzzer: the test build replays the seed corpora with it, so that every
// target is built and its checks hold for the seeds on every run of the tests.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            std::vector<fs::path> files;
            for (const auto& entry : fs::directory_iterator(argv[i]))
                if (entry.is_regular_file()) files.push_back(entry.path());
            std::sort(files.begin(), files.end());
            inputs.insert(inputs.end(), files.begin(), files.end());
        } else {
            inputs.emplace_back(argv[i]);
        }
    }
    if (inputs.empty()) {
        std::cerr << "no inputs to replay\n";
        return 1;
    }
    for (const fs::path& input : inputs) {
        std::ifstream in(input, std::ios::binary);
        if (!in) {
            std::cerr << "cannot read " << input << '\n';
            return 1;
        }
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        std::cout << input.filename().string() << '\n';
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::cout << inputs.size() << " inputs replayed\n";
    return 0;
}
