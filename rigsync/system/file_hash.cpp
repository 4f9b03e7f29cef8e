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

}  // namespace

std::string File_Sha256(const std::filesystem::path& File) {
  std::error_code Ignored;
  if (!std::filesystem::is_regular_file(File, Ignored)) return "";
  std::ifstream Stream(File, std::ios::binary);
  const Hash_Context Context(EVP_MD_CTX_new());
  if (!Stream || !Context || EVP_DigestInit_ex(Context.get(), EVP_sha256(), nullptr) != 1 ||
      !Take_File(Stream, Context.get())) {
    return "";
  }
  std::array<unsigned char, EVP_MAX_MD_SIZE> Digest{};
  unsigned int Size = 0;
  if (EVP_DigestFinal_ex(Context.get(), Digest.data(), &Size) != 1) return "";
  return Hex(Digest.data(), Size);
}

}  // namespace rigsync
