// The open blocks of each engine (tracked_blocks.h).

#include "contract/tracked_blocks.h"

#include <algorithm>
#include <map>
#include <vector>

namespace wsgated {

namespace {

struct OpenBlock {
  struct soap_blist* list;
  BlockEnd end;
};

// Per engine; the daemon has one, tests may have several. A message has a
// handful of repeated elements open at once, so a short list does.
std::map<struct soap*, std::vector<OpenBlock>>& openBlocks() {
  static std::map<struct soap*, std::vector<OpenBlock>> blocks;
  return blocks;
}

}  // namespace

void trackBlock(struct soap* soap, struct soap_blist* list, BlockEnd end) {
  std::vector<OpenBlock>& open = openBlocks()[soap];
  // Called for every item: the block of the item before is the usual one.
  if (!open.empty() && open.back().list == list) return;
  for (const OpenBlock& block : open) {
    if (block.list == list) return;
  }
  open.push_back({list, end});
}

void untrackBlock(struct soap* soap, struct soap_blist* list) {
  const auto found = openBlocks().find(soap);
  if (found == openBlocks().end()) return;
  std::vector<OpenBlock>& open = found->second;
  open.erase(std::remove_if(open.begin(), open.end(),
                            [list](const OpenBlock& block) {
                              return block.list == list;
                            }),
             open.end());
}

int endAbandonedBlocks(struct soap* soap) {
  const auto found = openBlocks().find(soap);
  if (found == openBlocks().end()) return 0;
  std::vector<OpenBlock> open;
  open.swap(found->second);
  openBlocks().erase(found);
  for (const OpenBlock& block : open) block.end(soap, block.list);
  return static_cast<int>(open.size());
}

}  // namespace wsgated
