#include "support/TestSupport.hpp"

#include <algorithm>

namespace postwright::test {

std::filesystem::path corpusDirectory() { return std::filesystem::path(PW_CORPUS_DIR); }

std::vector<std::filesystem::path> corpusFiles(const std::string& subfolder) {
    std::vector<std::filesystem::path> files;
    std::filesystem::path root = corpusDirectory() / subfolder;
    if (!std::filesystem::exists(root)) return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace postwright::test
