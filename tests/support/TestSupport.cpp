#include "support/TestSupport.hpp"

#include <algorithm>

#include "postwright/Base/DataScanner.hpp"

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

std::vector<CorpusMessage> corpusMessages() {
    std::vector<CorpusMessage> messages;
    for (const auto& path : corpusFiles("messages")) {
        if (auto data = Data::mapFile(path.string())) messages.push_back({path.string(), *data});
    }
    for (const auto& path : corpusFiles("mbox")) {
        std::optional<Data> file = Data::mapFile(path.string());
        if (!file) continue;
        FGDataScanner scanner(*file);
        Data fromLine, message;
        for (int index = 0; !scanner.isAtEnd(); ++index) {
            size_t before = scanner.location();
            if (!scanner.scanMboxMessage(&fromLine, &message) || scanner.location() == before) break;
            messages.push_back({path.string() + " #" + std::to_string(index), message});
        }
    }
    return messages;
}

}  // namespace postwright::test
