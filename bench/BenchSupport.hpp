// Inputs shared by the benchmarks.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "postwright/Base/Data.hpp"

namespace postwright::bench {

// Every corpus message, mapped; empty when the corpus is not beside the project.
inline const std::vector<Data>& corpusMessages() {
    static const std::vector<Data> messages = [] {
        std::vector<Data> list;
        std::filesystem::path root = std::filesystem::path(PW_CORPUS_DIR) / "messages";
        if (!std::filesystem::exists(root)) return list;
        std::vector<std::filesystem::path> paths;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
            if (entry.is_regular_file()) paths.push_back(entry.path());
        }
        std::sort(paths.begin(), paths.end());
        for (const auto& path : paths) {
            if (auto data = Data::mapFile(path.string())) list.push_back(*data);
        }
        return list;
    }();
    return messages;
}

inline size_t totalBytes(const std::vector<Data>& messages) {
    size_t total = 0;
    for (const Data& message : messages) total += message.length();
    return total;
}

}  // namespace postwright::bench
