#pragma once
// The containers of a current client in the sample set, in D/current:
// artLegacyMUL.uop, gumpartLegacyMUL.uop, map0LegacyMUL.uop and
// soundLegacyMUL.uop, in the version-4 shape of formats/ClientUOPWriter.h.
//
// Where the set has a classic file of the same type, the container holds
// the same blocks, and more beyond: art.mul's blocks and items up to
// 0x13FDB; gumpart.mul's gumps of its first 4096 records and a few later
// ones (9834 to 9839 named with 7 digits, as the client names them); the
// map of the Mondain's Legacy size, 896 by 512 blocks in 112 entries of
// 4096, whose blocks in the classic columns are those of map0.mul.
#include <string>

#include "sample/SampleClient.h"

namespace quillet::sample {

inline constexpr const char* kCurrentDir = "current";
inline constexpr int32_t kCurrentArtLast = 0x13FDB;
inline constexpr int32_t kContainerGumpRecords = 4096;
// The sounds of soundLegacyMUL.uop.
inline constexpr int32_t kContainerSounds[] = {0, 1, 2, 100, 255, 256, 1000, 4095};

// The map entries the container has: all 112 in the full set; in the
// small one those of map0.mul's columns (entries 0 to 7) and 96, 103 and
// 111, beyond the classic map. The last entry is short: its last 100 blocks
// and a half have no bytes.
bool ContainerHasMapEntry(bool full, int32_t entry);
inline constexpr int32_t kShortMapEntryBytes = 196 * 3996 + 98;

// Sound n of the container: a 40-byte header with its name, then 16-bit samples.
ByteArray ContainerSound(uint32_t seed, int32_t n);

namespace detail {
// Writes the four files into D/current (made if missing; the files are made
// new) and answers their lines for the set's description. Throws a Failure.
std::string WriteCurrentContainers(const SampleOptions& options, const ArtOptions& art, const GumpOptions& gumps);
}  // namespace detail

}  // namespace quillet::sample
