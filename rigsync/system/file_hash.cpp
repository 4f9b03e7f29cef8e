// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/file_hash.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <array>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

namespace rigsync {
namespace {

struct Free_Context {
  void operator()(EVP_MD_CTX* Context) const { EVP_MD_CTX_free(Context); }
};
using Hash_Context = std::unique_ptr<EVP_MD_CTX, Free_Context>;

// Larger pieces are no faster.
constexpr std::size_t Piece_Bytes = 1 << 18;

// False where the file can't be opened, or not be read to its end.
bool Take_File(std::ifstream& Stream, EVP_MD_CTX* Context) {
  std::vector<char> Piece(Piece_Bytes);
  while (Stream) {
    Stream.read(Piece.data(), static_cast<std::streamsize>(Piece.size()));
    const auto Count = static_cast<std::size_t>(Stream.gcount());
    if (EVP_DigestUpdate(Context, Piece.data(), Count) != 1) return false;
  }
  return Stream.eof();
}

std::string Hex(const unsigned char* Bytes, std::size_t Count) {
  std::string Text;
  for (std::size_t i = 0; i < Count; ++i) Text += fmt::format("{:02x}", Bytes[i]);
  return Text;
}

// Empty where the library has no such digest.
Hash_Context Begun_Context() {
  Hash_Context Context(EVP_MD_CTX_new());
  if (Context && EVP_DigestInit_ex(Context.get(), EVP_sha256(), nullptr) != 1) Context.reset();
  return Context;
}

std::string Ended(EVP_MD_CTX* Context) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> Digest{};
  unsigned int Size = 0;
  if (EVP_DigestFinal_ex(Context, Digest.data(), &Size) != 1) return "";
  return Hex(Digest.data(), Size);
}

}  // namespace

std::string File_Sha256(const std::filesystem::path& File) {
  std::error_code Ignored;
  if (!std::filesystem::is_regular_file(File, Ignored)) return "";
  std::ifstream Stream(File, std::ios::binary);
  const Hash_Context Context = Begun_Context();
  if (!Context || !Take_File(Stream, Context.get())) return "";
  return Ended(Context.get());
}

std::string Text_Sha256(std::string_view Text) {
  const Hash_Context Context = Begun_Context();
  if (!Context || EVP_DigestUpdate(Context.get(), Text.data(), Text.size()) != 1) return "";
  return Ended(Context.get());
}

}  // namespace rigsync
