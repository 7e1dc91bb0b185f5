// SPDX-License-Identifier: MIT
#include "commands/unpack.h"

#include <array>
#include <initializer_list>
#include <new>
#include <string>
#include <utility>

#ifdef ORVELLE_GZIP
#include <zlib.h>
#endif
#ifdef ORVELLE_XZ
#include <lzma.h>
#endif
#ifdef ORVELLE_ZSTD
#include <zstd.h>
#endif

#include "commands/remarks.h"

namespace orvelle {

namespace {

// What the unpackers have in common: the compressed bytes at hand.
class Source {
 public:
  Source(ReadRaw read_raw, const char* name) : read_raw_(std::move(read_raw)), name_(name) {}

  // The bytes not used yet; reads more if there are none, and is empty at the end of the file.
  std::span<char> bytes() {
    if (left_.empty()) left_ = std::span(buffer_).first(read_raw_(buffer_));
    return left_;
  }
  void use(size_t count) { left_ = left_.subspan(count); }

  [[noreturn]] void stop_at_damage() const { stop(std::string(name_) + ": the compressed file is damaged"); }
  [[noreturn]] void stop_at_end() const { stop(std::string(name_) + ": the compressed file is cut short"); }

 private:
  ReadRaw read_raw_;
  const char* name_;
  std::array<char, 1 << 16> buffer_;
  std::span<char> left_;
};

#ifdef ORVELLE_GZIP
// Of one member or several.
class GzipUnpacker : public Unpacker {
 public:
  explicit GzipUnpacker(Source source) : source_(std::move(source)) {
    constexpr int Gzip_Window = 15 + 16;
    if (inflateInit2(&stream_, Gzip_Window) != Z_OK) throw std::bad_alloc();
  }
  ~GzipUnpacker() override { inflateEnd(&stream_); }

  size_t read(std::span<char> room) override {
    stream_.next_out = reinterpret_cast<Bytef*>(room.data());
    stream_.avail_out = static_cast<uInt>(room.size());
    while (stream_.avail_out == room.size()) {
      const std::span<char> in = source_.bytes();
      if (in.empty() && is_between_) return 0;
      if (in.empty()) source_.stop_at_end();
      if (is_between_) inflateReset(&stream_);
      stream_.next_in = reinterpret_cast<Bytef*>(in.data());
      stream_.avail_in = static_cast<uInt>(in.size());
      const int result = inflate(&stream_, Z_NO_FLUSH);
      source_.use(in.size() - stream_.avail_in);
      is_between_ = result == Z_STREAM_END;
      if (result != Z_OK && result != Z_STREAM_END) source_.stop_at_damage();
    }
    return room.size() - stream_.avail_out;
  }

 private:
  Source source_;
  z_stream stream_{};
  bool is_between_ = false;  // a member has ended
};
#endif

#ifdef ORVELLE_XZ
class XzUnpacker : public Unpacker {
 public:
  explicit XzUnpacker(Source source) : source_(std::move(source)) {
    if (lzma_stream_decoder(&stream_, UINT64_MAX, LZMA_CONCATENATED) != LZMA_OK) throw std::bad_alloc();
  }
  ~XzUnpacker() override { lzma_end(&stream_); }

  size_t read(std::span<char> room) override {
    stream_.next_out = reinterpret_cast<uint8_t*>(room.data());
    stream_.avail_out = room.size();
    while (stream_.avail_out == room.size() && !is_done_) {
      const std::span<char> in = source_.bytes();
      stream_.next_in = reinterpret_cast<const uint8_t*>(in.data());
      stream_.avail_in = in.size();
      const lzma_ret result = lzma_code(&stream_, in.empty() ? LZMA_FINISH : LZMA_RUN);
      source_.use(in.size() - stream_.avail_in);
      is_done_ = result == LZMA_STREAM_END;
      if (result == LZMA_BUF_ERROR || (in.empty() && result == LZMA_OK)) source_.stop_at_end();
      if (result == LZMA_MEM_ERROR) throw std::bad_alloc();
      if (result != LZMA_OK && result != LZMA_STREAM_END) source_.stop_at_damage();
    }
    return room.size() - stream_.avail_out;
  }

 private:
  Source source_;
  lzma_stream stream_ = LZMA_STREAM_INIT;
  bool is_done_ = false;
};
#endif

#ifdef ORVELLE_ZSTD
class ZstdUnpacker : public Unpacker {
 public:
  explicit ZstdUnpacker(Source source)
      : source_(std::move(source)), stream_(ZSTD_createDStream(), ZSTD_freeDStream) {
    if (stream_ == nullptr) throw std::bad_alloc();
  }

  size_t read(std::span<char> room) override {
    ZSTD_outBuffer out{room.data(), room.size(), 0};
    while (out.pos == 0) {
      const std::span<char> bytes = source_.bytes();
      if (bytes.empty() && is_between_) return 0;
      ZSTD_inBuffer in{bytes.data(), bytes.size(), 0};
      const size_t result = ZSTD_decompressStream(stream_.get(), &out, &in);
      if (ZSTD_isError(result)) source_.stop_at_damage();
      source_.use(in.pos);
      is_between_ = result == 0;
      if (bytes.empty() && out.pos == 0 && !is_between_) source_.stop_at_end();
    }
    return out.pos;
  }

 private:
  Source source_;
  std::unique_ptr<ZSTD_DStream, size_t (*)(ZSTD_DStream*)> stream_;
  bool is_between_ = false;  // a frame has ended
};
#endif

constexpr std::string_view Gzip_Mark = "\x1F\x8B", Zstd_Mark = "\x28\xB5\x2F\xFD";
constexpr std::string_view Xz_Mark("\xFD\x37zXZ\0", 6);

[[noreturn, maybe_unused]] void stop_without(const char* kind, const char* tool, const char* name) {
  stop(std::string(name) + " is compressed by " + kind + ", which this build does not read: " + tool +
       " -dc " + name + " | ...");
}

}  // namespace

bool may_be_compressed(std::string_view beginning) {
  for (const std::string_view mark : {Gzip_Mark, Xz_Mark, Zstd_Mark})
    if (beginning.size() < mark.size() && mark.starts_with(beginning)) return true;
  return false;
}

std::unique_ptr<Unpacker> make_unpacker(std::string_view beginning, ReadRaw read_raw, const char* name) {
  [[maybe_unused]] const auto source = [&] { return Source(std::move(read_raw), name); };
  if (beginning.starts_with(Gzip_Mark)) {
#ifdef ORVELLE_GZIP
    return std::make_unique<GzipUnpacker>(source());
#else
    stop_without("gzip", "gzip", name);
#endif
  }
  if (beginning.starts_with(Xz_Mark)) {
#ifdef ORVELLE_XZ
    return std::make_unique<XzUnpacker>(source());
#else
    stop_without("xz", "xz", name);
#endif
  }
  if (beginning.starts_with(Zstd_Mark)) {
#ifdef ORVELLE_ZSTD
    return std::make_unique<ZstdUnpacker>(source());
#else
    stop_without("zstd", "zstd", name);
#endif
  }
  return nullptr;
}

}  // namespace orvelle
