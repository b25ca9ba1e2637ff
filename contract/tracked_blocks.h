// Blocks of parsed items that a failed message leaves behind.
//
// While the engine reads a repeated element of a C++ type (a std::string,
// or a record holding strings), it constructs the items in a block of its
// own and copies them out when the element ends. When the message fails
// midway (too many items, a bad value, a broken tag), the block is left
// open, and the engine frees it at the request's end without running the
// items' destructors: every string item leaked its text, several MB per
// over-long getValues. The build rewrites the generated serializers to use
// tracked_block<T> instead of the engine's soap_block<T>; it remembers each
// block until the serializer saves or ends it, and endAbandonedBlocks()
// ends, with the items' destructors, the blocks a failed message left.

#ifndef CONTRACT_TRACKED_BLOCKS_H_
#define CONTRACT_TRACKED_BLOCKS_H_

#include <stdsoap2.h>

namespace wsgated {

using BlockEnd = void (*)(struct soap*, struct soap_blist*);

// Remember that `list` holds items that `end` destroys; forget it again.
void trackBlock(struct soap* soap, struct soap_blist* list, BlockEnd end);
void untrackBlock(struct soap* soap, struct soap_blist* list);

// End the blocks of `soap` that are still open, destroying their items.
// Call at the end of every request, before the engine's own clean-up
// (soap_destroy, soap_end). Returns how many blocks were ended.
int endAbandonedBlocks(struct soap* soap);

}  // namespace wsgated

// soap_block<T> with its blocks tracked (generated code only).
template <class T>
struct tracked_block {
  static T* push(struct soap* soap, struct soap_blist* list) {
    T* item = soap_block<T>::push(soap, list);
    if (item != nullptr) {
      wsgated::trackBlock(soap, list != nullptr ? list : soap->blist,
                          &soap_block<T>::end);
    }
    return item;
  }
  static void pop(struct soap* soap, struct soap_blist* list) {
    soap_block<T>::pop(soap, list);
  }
  static void save(struct soap* soap, struct soap_blist* list, T* items) {
    wsgated::untrackBlock(soap, list != nullptr ? list : soap->blist);
    soap_block<T>::save(soap, list, items);
  }
  static void end(struct soap* soap, struct soap_blist* list) {
    wsgated::untrackBlock(soap, list != nullptr ? list : soap->blist);
    soap_block<T>::end(soap, list);
  }
};

#endif  // CONTRACT_TRACKED_BLOCKS_H_
