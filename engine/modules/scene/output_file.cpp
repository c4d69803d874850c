#include "engine/modules/scene/output_file.h"

#include "engine/common/open_file.h"

namespace morvex {

OutputFile::OutputFile(const std::filesystem::path& path)
    : file_(OpenFile(path, "wb")), failed_(file_ == nullptr) {}

OutputFile::~OutputFile() {
    if (file_ != nullptr) std::fclose(file_);
}

void OutputFile::Write(std::string_view bytes) {
    if (!failed_) failed_ = std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size();
}

bool OutputFile::Close() {
    if (file_ != nullptr && std::fclose(file_) != 0) failed_ = true;
    file_ = nullptr;
    return !failed_;
}

void AppendLittleEndian(std::string& bytes, std::uint64_t number, int size) {
    for (int at = 0; at < size; ++at) bytes += static_cast<char>(number >> (8 * at) & 0xff);
}

}  // namespace morvex
