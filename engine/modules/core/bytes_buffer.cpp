#include "engine/modules/core/input_bytes.h"

namespace morvex {

BytesBuffer::pos_type BytesBuffer::seekoff(off_type offset, std::ios_base::seekdir from,
                                           std::ios_base::openmode) {
    const char* const base = from == std::ios_base::beg   ? eback()
                             : from == std::ios_base::cur ? gptr()
                                                          : egptr();
    const off_type at = base - eback() + offset;
    if (at < 0 || at > egptr() - eback()) return off_type(-1);
    setg(eback(), eback() + at, egptr());
    return at;
}

BytesBuffer::pos_type BytesBuffer::seekpos(pos_type at, std::ios_base::openmode mode) {
    return seekoff(at, std::ios_base::beg, mode);
}

}  // namespace morvex
