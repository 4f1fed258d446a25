// Takes out of the calls of a recording what tells whose host it was: the names of disks and controllers, serial
// numbers, labels and ids get others, and every byte that neither the plugin nor this program looks at becomes zero.
#pragma once

#include "host/recording/calls.h"
#include "host/recording/pseudonyms.h"

namespace host::recording {

/// One for all calls of a recording, so that what was the same stays the same.
class Anonymizer {
 public:
  void apply(AnyCall& call) const;

 private:
  void apply(OpenChannel& /*call*/) const {}
  void apply(CloseChannel& /*call*/) const {}
  void apply(Query& call) const;
  void apply(Command& call) const;
  void apply(OpenNode& call) const { call.request.device = pseudonyms_.device(call.request.device); }
  void apply(NodeRequest& call) const;
  void apply(Run& call) const;
  void apply(Clock& /*call*/) const {}
  void apply(Disks& call) const;

  Pseudonyms pseudonyms_;
};

}  // namespace host::recording
