#ifndef CHANNEL_OBJECT_CHANNEL_OBJECT_H
#define CHANNEL_OBJECT_CHANNEL_OBJECT_H

#include "zunic_hosting/channel_format.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZunicChannelObject {

/// Where a memory manager's blocks lie, and how many of them there can be.
struct PoolGeometry
{
    std::uint64_t offset; // bytes from the start of the object
    std::uint64_t blockSize;
    std::uint32_t maximumBlocks;
};

/// A private copy of what a channel says about itself, checked against the object's real size.
struct Geometry
{
    ZunicFormat::Superblock superblock;
    std::vector<PoolGeometry> pools;
};

/// The name of the shared-memory object of `channel`; none when no channel can have that name.
std::optional<std::string> objectName(std::string_view channel);

/// Opens an object for reading and writing: a descriptor, or -1 with errno set. Waits for nobody who has a lease on it
/// (EWOULDBLOCK).
int openObject(const std::string& objectName);

/// Puts the PID namespace of this process into `pidNamespace`: 0, or an errno value where /proc does not tell.
int readPidNamespace(ZunicFormat::PidNamespace& pidNamespace);

/// Reads the geometry of the object behind `descriptor`: 0, or EBADMSG when it is not a whole channel or has holes,
/// EREMOTE when its host is in another PID namespace, or another errno value. Uses each number as it was
/// read first; nothing that changes later has any influence. What an object says that was not initialized before may
/// be incomplete.
int readGeometry(int descriptor, Geometry& geometry);

/// True when every area lies inside an object of `objectSize` bytes, is aligned, and overlaps no other.
bool isPlausible(const ZunicFormat::Superblock& superblock, std::uint64_t objectSize);

/// True when `size` bytes from `offset` lie inside `area`, whatever the numbers are.
bool contains(const ZunicFormat::Area& area, std::uint64_t offset, std::uint64_t size);

} // namespace ZunicChannelObject

#endif
