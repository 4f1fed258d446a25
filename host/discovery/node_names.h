// Which node of a disk is a volume's, told by its name alone: it holds the volume's unique id, or the beginning of it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// A node that is no volume's, and why not.
struct LeftNode {
  std::string name;
  std::string why;  ///< empty: its name holds no id of a volume
};

struct JoinedNodes {
  /// By volume, its nodes with the shortest name first; of several equally short ones the first by the alphabet.
  std::vector<std::vector<std::string>> ofVolumes;
  std::vector<LeftNode> left;
};

/// Joins nodes and volumes. A name that holds the whole id of a volume is that volume's. One that holds none belongs to
/// the volume whose first 16 digits it holds, if only one volume has these and they are not the beginning of another
/// number; an id of zeros joins nothing. Where several volumes could be meant, none is: a wrong join names a wrong
/// disk.
///
/// @param ids    unique ids of volumes, 32 hexadecimal digits each
/// @param names  of nodes, below /dev/disks/
[[nodiscard]] JoinedNodes joinNodes(const std::vector<std::string>& ids, std::vector<std::string> names);

}  // namespace host
