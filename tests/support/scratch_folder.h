// SPDX-License-Identifier: Apache-2.0
//
// A temporary folder for one test, removed when the test ends.
#ifndef RIGSYNC_TESTS_SUPPORT_SCRATCH_FOLDER_H
#define RIGSYNC_TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

class Scratch_Folder {
 public:
  Scratch_Folder() {
    // Tests run as parallel processes, so a counter alone would not give unique names.
    static std::atomic<unsigned> Counter{0};
    const unsigned Salt = std::random_device{}();
    Folder = std::filesystem::temp_directory_path() /
             ("rigsync_test_" + std::to_string(Salt) + "_" + std::to_string(Counter++));
    if (!std::filesystem::create_directory(Folder)) {
      throw std::runtime_error("scratch folder exists already: " + Folder.string());
    }
  }
  ~Scratch_Folder() {
    std::error_code Ignored;
    std::filesystem::permissions(Folder, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, Ignored);
    std::filesystem::remove_all(Folder, Ignored);
  }
  Scratch_Folder(const Scratch_Folder&) = delete;
  Scratch_Folder& operator=(const Scratch_Folder&) = delete;

  const std::filesystem::path& Path() const { return Folder; }
  std::string String() const { return Folder.string(); }

  // Writes a file of exactly these bytes and returns its path.
  std::string Write(const std::string& Name, const std::string& Bytes) const {
    const std::filesystem::path File = Folder / Name;
    std::ofstream Stream(File, std::ios::binary);
    Stream << Bytes;
    Stream.close();
    if (!Stream) throw std::runtime_error("could not write " + File.string());
    return File.string();
  }

 private:
  std::filesystem::path Folder;
};

#endif  // RIGSYNC_TESTS_SUPPORT_SCRATCH_FOLDER_H
