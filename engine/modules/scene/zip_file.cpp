#include "engine/modules/scene/zip_file.h"

#include <limits>
#include <zlib.h>

namespace morvex {
namespace {

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();

// Little-endian fields of a record.
class Record {
  public:
    Record& Short(unsigned value) { return Bytes(value, 2); }
    Record& Long(std::uint64_t value) { return Bytes(value, 4); }
    Record& Text(std::string_view text) {
        bytes_ += text;
        return *this;
    }
    const std::string& Get() const { return bytes_; }

  private:
    Record& Bytes(std::uint64_t value, int count) {
        AppendLittleEndian(bytes_, value, count);
        return *this;
    }
    std::string bytes_;
};

constexpr unsigned kVersion = 20, kUtf8Names = 0x800, kDeflated = 8, kMidnight = 0, kFirstDay = 0x21;

// Raw deflate, without a zlib header. Empty on failure.
std::string Deflate(std::string_view contents) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        return {};
    }
    std::string packed(deflateBound(&stream, contents.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(contents.data()));
    stream.avail_in = static_cast<uInt>(contents.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const bool done = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    packed.resize(done ? stream.total_out : 0);
    deflateEnd(&stream);
    return packed;
}

}  // namespace

void ZipFile::Write(std::string_view bytes) {
    file_.Write(bytes);
    offset_ += bytes.size();
}

void ZipFile::Add(const std::string& name, std::string_view contents) {
    if (contents.size() > kLargest || offset_ > kLargest) {
        failed_ = true;
        return;
    }
    const std::string packed = Deflate(contents);
    failed_ = failed_ || packed.empty();
    const auto checksum = static_cast<std::uint32_t>(
        crc32_z(0, reinterpret_cast<const Bytef*>(contents.data()), contents.size()));
    members_.push_back({name, checksum, static_cast<std::uint32_t>(packed.size()),
                        static_cast<std::uint32_t>(contents.size()), static_cast<std::uint32_t>(offset_)});
    Record local;
    local.Text("PK\3\4").Short(kVersion).Short(kUtf8Names).Short(kDeflated).Short(kMidnight).Short(kFirstDay);
    local.Long(checksum).Long(packed.size()).Long(contents.size());
    local.Short(static_cast<unsigned>(name.size())).Short(0).Text(name);
    Write(local.Get());
    Write(packed);
}

bool ZipFile::Close() {
    const std::uint64_t start = offset_;
    for (const Member& member : members_) {
        Record entry;
        entry.Text("PK\1\2")
            .Short(kVersion)
            .Short(kVersion)
            .Short(kUtf8Names)
            .Short(kDeflated)
            .Short(kMidnight);
        entry.Short(kFirstDay).Long(member.checksum).Long(member.packed).Long(member.unpacked);
        entry.Short(static_cast<unsigned>(member.name.size())).Short(0).Short(0).Short(0).Short(0).Long(0);
        entry.Long(member.offset).Text(member.name);
        Write(entry.Get());
    }
    const auto count = static_cast<unsigned>(members_.size());
    Record end;
    end.Text("PK\5\6").Short(0).Short(0).Short(count).Short(count).Long(offset_ - start).Long(start).Short(0);
    Write(end.Get());
    return file_.Close() && !failed_ && offset_ <= kLargest;
}

}  // namespace morvex
