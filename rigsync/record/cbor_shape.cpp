// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/cbor_shape.h"

#include "rigsync/record/bytes.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace rigsync {
namespace {

// The kinds of items, the upper three bits of the first byte.
enum Kind : unsigned { Unsigned, Negative, Byte_String, Text, List, Map, Tag, Simple };

constexpr std::uint8_t Break = 0xFF;
constexpr std::uint64_t Until_Break = std::numeric_limits<std::uint64_t>::max();

// The first byte of an item and the number that follows it.
struct Item_Head {
  unsigned Of_Kind = 0;
  std::uint64_t Number = 0;  // a length, a count or a value
  bool Is_Indefinite = false;
};

class Walk {
 public:
  Walk(std::string_view All, std::size_t Most) : Bytes(All), Deepest(Most) {}

  bool Is_Shallow() {
    Open_Levels = {1};
    while (!Open_Levels.empty()) {
      if (Open_Levels.back() == 0) {
        Open_Levels.pop_back();
        continue;
      }
      if (!Step()) return false;
    }
    return Bytes.empty();
  }

 private:
  // Takes one item, or the break that ends a level without a count.
  bool Step() {
    std::uint64_t& Left = Open_Levels.back();
    if (Left == Until_Break && !Bytes.empty() && Byte_At(Bytes, 0) == Break) {
      Bytes.remove_prefix(1);
      Left = 0;
      return true;
    }
    if (Left != Until_Break) --Left;
    const std::optional<Item_Head> Head = Take_Head();
    return Head && Enter(*Head);
  }

  std::optional<Item_Head> Take_Head() {
    constexpr unsigned Largest_Direct = 23, Largest_Size = 27, Indefinite = 31;
    if (Bytes.empty()) return std::nullopt;
    Item_Head Head;
    Head.Of_Kind = Byte_At(Bytes, 0) >> 5U;
    const unsigned Info = Byte_At(Bytes, 0) & 31U;
    Bytes.remove_prefix(1);
    Head.Number = Info;
    Head.Is_Indefinite = Info == Indefinite;
    if (Info <= Largest_Direct || Head.Is_Indefinite) return Head;
    const std::size_t Size = std::size_t{1} << (Info - Largest_Direct - 1);
    if (Info > Largest_Size || Bytes.size() < Size) return std::nullopt;
    Head.Number = Big_Endian(Bytes, 0, Size);
    Bytes.remove_prefix(Size);
    return Head;
  }

  bool Enter(const Item_Head& Head) {
    switch (Head.Of_Kind) {
      case Byte_String:
      case Text:
        return Head.Is_Indefinite ? Open(Until_Break) : Skip(Head.Number);
      case List:
        return Open(Head.Is_Indefinite ? Until_Break : Head.Number);
      case Map:
        return Head.Is_Indefinite ? Open(Until_Break) : Open_Map(Head.Number);
      case Tag:
        return !Head.Is_Indefinite && Open(1);
      default:
        return !Head.Is_Indefinite;
    }
  }

  bool Skip(std::uint64_t Length) {
    if (Length > Bytes.size()) return false;
    Bytes.remove_prefix(static_cast<std::size_t>(Length));
    return true;
  }

  bool Open_Map(std::uint64_t Pairs) { return Pairs <= Bytes.size() && Open(2 * Pairs); }

  // Each item is a byte at least.
  bool Open(std::uint64_t Items) {
    if (Items != Until_Break && Items > Bytes.size()) return false;
    Open_Levels.push_back(Items);
    return Open_Levels.size() <= Deepest + 1;
  }

  std::string_view Bytes;
  std::size_t Deepest;
  std::vector<std::uint64_t> Open_Levels;  // items that are still to come in each
};

}  // namespace

bool Is_Shallow_Cbor(std::string_view Bytes, std::size_t Deepest) {
  return Walk(Bytes, Deepest).Is_Shallow();
}

}  // namespace rigsync
