// The shared half of EGLForwarder and GLForwarder. Private to the library.
#ifndef DCAPKIT_DATA_CALLFORWARDER_H
#define DCAPKIT_DATA_CALLFORWARDER_H

#include "Data/Calls/CallTable.h"
#include "Data/Calls/GenericAdapter.h"

namespace Data {

/// Hands calls to a `GenericAdapter`, which owns this object.
class CallForwarder {
 public:
  explicit CallForwarder(GenericAdapter* target) : target_(target) {}

 protected:
  void ForwardThread(Api api, uint32_t threadId) { target_->ProcessThreadChange(api, threadId); }

  template <typename... Values>
  void Forward(ApiCallType id, Values... values) {
    const CallDesc& call = *FindCall(id);
    if constexpr (sizeof...(values) == 0) {
      target_->ProcessCall(call, {});
    } else {
      const CallValue list[] = {values...};
      target_->ProcessCall(call, list);
    }
  }

  template <typename... Values>
  void ForwardClientData(const CallDesc& operation, Values... values) {
    const CallValue list[] = {values...};
    target_->ProcessClientData(operation, list);
  }

 private:
  GenericAdapter* target_;  // owns this object
};

}  // namespace Data

#endif  // DCAPKIT_DATA_CALLFORWARDER_H
