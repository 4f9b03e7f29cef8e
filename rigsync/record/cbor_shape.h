// SPDX-License-Identifier: Apache-2.0
//
// Whether CBOR (RFC 8949) can be given to a parser that calls itself for each level: any byte can
// begin another level, so a packet from anybody could use up the stack.
#ifndef RIGSYNC_RECORD_CBOR_SHAPE_H
#define RIGSYNC_RECORD_CBOR_SHAPE_H

#include <cstddef>
#include <string_view>

namespace rigsync {

// True for one item of CBOR whose lists, maps, tags and strings in pieces lie at most Deepest
// levels within each other, and whose lengths are within Bytes. False for anything else, and for
// bytes after the item.
bool Is_Shallow_Cbor(std::string_view Bytes, std::size_t Deepest);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_CBOR_SHAPE_H
