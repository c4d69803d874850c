#include "engine/modules/scene/zip_file.h"

#include <algorithm>
#include <minizip/zip.h>
#include <new>

#include "engine/modules/core/zip_access.h"

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 20, kDictionary = 1u << 15;
constexpr std::uint64_t kSmall = 0xf0000000u;  // from here on members need the 64-bit form
constexpr uLong kFirstDay = 0x210000;  // the earliest date there is, so that equal models make equal files
constexpr int kLevel = 2;              // half the time of the next one, and a tenth more bytes

Bytef* BytesOf(const std::string& text) {
    return reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));  // zlib does not change what it reads
}

}  // namespace

ZipFile::ZipFile(const std::filesystem::path& path, unsigned threads) : threads_(std::max(threads, 1u)) {
    zlib_filefunc64_def access = ZipAccessByPath();
    archive_ = zipOpen2_64(&path, APPEND_STATUS_CREATE, nullptr, &access);
    failed_ = archive_ == nullptr;
}

ZipFile::~ZipFile() {
    Close();
}

void ZipFile::Add(const std::string& name, std::string_view contents) {
    Begin(name, contents.size());
    Write(contents);
    End();
}

void ZipFile::Begin(const std::string& name, std::uint64_t size) {
    constexpr int kRaw = 1;
    zip_fileinfo info{};
    info.dosDate = kFirstDay;
    failed_ = failed_ || zipOpenNewFileInZip2_64(archive_, name.c_str(), &info, nullptr, 0, nullptr, 0,
                                                 nullptr, Z_DEFLATED, kLevel, kRaw, size >= kSmall) != ZIP_OK;
    size_ = 0;
    crc_ = crc32(0, nullptr, 0);
    dictionary_.clear();
}

void ZipFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t size = std::min(bytes.size(), kPiece - pending_.size());
        pending_ += bytes.substr(0, size);
        bytes.remove_prefix(size);
        if (pending_.size() == kPiece) StartPiece(false);
    }
}

void ZipFile::End() {
    StartPiece(true);
    while (!pieces_.empty()) WriteOldest();
    failed_ = failed_ || zipCloseFileInZipRaw64(archive_, size_, crc_) != ZIP_OK;
}

bool ZipFile::Close() {
    if (archive_ != nullptr && zipClose(archive_, nullptr) != ZIP_OK) failed_ = true;
    archive_ = nullptr;
    return !failed_;
}

// Pieces are packed apart from each other and end at whole bytes, so that they can stand one behind the
// other.
void ZipFile::StartPiece(bool last) {
    std::string dictionary = std::move(dictionary_);
    dictionary_ = pending_.substr(pending_.size() - std::min(pending_.size(), kDictionary));
    const auto how = threads_ > 1 ? std::launch::async | std::launch::deferred : std::launch::deferred;
    pieces_.push_back(std::async(how, Pack, std::move(dictionary), std::move(pending_), last));
    pending_.clear();
    if (pieces_.size() > (threads_ > 1 ? threads_ : 0)) WriteOldest();
}

void ZipFile::WriteOldest() {
    const Packed packed = pieces_.front().get();
    pieces_.pop_front();
    size_ += packed.size;
    crc_ = crc32_combine(crc_, packed.crc, static_cast<z_off_t>(packed.size));
    failed_ = failed_ || zipWriteInFileInZip(archive_, packed.bytes.data(),
                                             static_cast<unsigned>(packed.bytes.size())) != ZIP_OK;
}

ZipFile::Packed ZipFile::Pack(const std::string& dictionary, const std::string& piece, bool last) {
    constexpr int kBare = -15, kMemory = 8, kSpare = 64;
    z_stream stream{};
    if (deflateInit2(&stream, kLevel, Z_DEFLATED, kBare, kMemory, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    deflateSetDictionary(&stream, BytesOf(dictionary), static_cast<uInt>(dictionary.size()));
    Packed packed{{}, piece.size(), crc32(0, BytesOf(piece), static_cast<uInt>(piece.size()))};
    packed.bytes.resize(deflateBound(&stream, static_cast<uLong>(piece.size())) + kSpare);
    stream.next_in = BytesOf(piece);
    stream.avail_in = static_cast<uInt>(piece.size());
    stream.next_out = BytesOf(packed.bytes);
    stream.avail_out = static_cast<uInt>(packed.bytes.size());
    deflate(&stream, last ? Z_FINISH : Z_SYNC_FLUSH);
    packed.bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace morvex
