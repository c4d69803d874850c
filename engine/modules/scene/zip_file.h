// A ZIP archive of a few compressed members, as packaged document formats want it.
#pragma once

#include <deque>
#include <filesystem>
#include <future>
#include <string>
#include <string_view>

namespace morvex {

class ZipFile {
  public:
    // `threads` of them compress. The archive is the same whatever their number.
    ZipFile(const std::filesystem::path& path, unsigned threads);
    ~ZipFile();
    ZipFile(const ZipFile&) = delete;
    ZipFile& operator=(const ZipFile&) = delete;

    void Add(const std::string& name, std::string_view contents);
    // A member in pieces. Its size is only needed roughly, from above.
    void Begin(const std::string& name, std::uint64_t size);
    void Write(std::string_view bytes);
    void End();
    // Writes the directory. False when anything since the opening has failed.
    bool Close();

  private:
    struct Packed {
        std::string bytes;
        std::uint64_t size;  // before
        unsigned long crc;
    };
    static Packed Pack(const std::string& dictionary, const std::string& piece, bool last);
    void StartPiece(bool last);
    void WriteOldest();

    void* archive_;
    bool failed_;
    std::size_t threads_;
    std::string pending_, dictionary_;  // what comes next; the end of what came before
    std::deque<std::future<Packed>> pieces_;
    std::uint64_t size_ = 0;
    unsigned long crc_ = 0;
};

}  // namespace morvex
