#include "platform/text_file.h"

#include <sys/stat.h>

#include <cstdarg>
#include <vector>

namespace corvid {

std::optional<std::string> readWholeFile(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return std::nullopt;
  // One allocation of the file's size and one read; the loop only matters for files that grow
  // while being read or whose size cannot be taken (pipes).
  struct stat status {};
  if (::fstat(::fileno(file), &status) != 0 || S_ISDIR(status.st_mode)) {
    std::fclose(file);
    return std::nullopt;
  }
  std::string content;
  if (S_ISREG(status.st_mode) && status.st_size > 0) content.resize(static_cast<std::size_t>(status.st_size));
  std::size_t filled = std::fread(content.data(), 1, content.size(), file);
  content.resize(filled);
  char chunk[1 << 16];
  std::size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) content.append(chunk, got);
  bool failed = std::ferror(file) != 0;
  std::fclose(file);
  if (failed) return std::nullopt;
  return content;
}

std::string withoutCarriageReturns(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out += text[i];
  }
  return out;
}

void appendCrLf(std::string& out, std::string_view text) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t lf = text.find('\n', start);
    if (lf == std::string_view::npos) {
      out.append(text.substr(start));
      return;
    }
    out.append(text.substr(start, lf - start));
    if (out.empty() || out.back() != '\r') out += '\r';
    out += '\n';
    start = lf + 1;
  }
}

bool TextWriter::open(const std::string& path) { return openPending(path, pending_); }

void TextWriter::write(std::string_view text) {
  if (pending_.file == nullptr) return;
  appendCrLf(pending_.buffer, text);
  flushIfLarge(pending_);
}

void TextWriter::print(const char* format, ...) {
  if (pending_.file == nullptr) return;
  char small[512];
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  int needed = std::vsnprintf(small, sizeof small, format, args);
  va_end(args);
  if (needed < 0) {
    va_end(copy);
    pending_.failed = true;
    return;
  }
  if (static_cast<std::size_t>(needed) < sizeof small) {
    write(std::string_view(small, static_cast<std::size_t>(needed)));
  } else {
    std::vector<char> large(static_cast<std::size_t>(needed) + 1);
    std::vsnprintf(large.data(), large.size(), format, copy);
    write(std::string_view(large.data(), static_cast<std::size_t>(needed)));
  }
  va_end(copy);
}

bool TextWriter::close() { return commitPending(pending_); }

bool writeTextFile(const std::string& path, std::string_view text) {
  TextWriter writer;
  if (!writer.open(path)) return false;
  writer.write(text);
  return writer.close();
}

}  // namespace corvid
