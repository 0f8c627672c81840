// What the server does for each call, made from the list of calls. Each gives the answer's code, or one of the two of
// impl/server/caller.h; the answer's bytes lie in the question or in the caller's scratch.
#pragma once

#include "impl/server/caller.h"
#include "impl/wire/calls.h"

namespace impl::server {

#define KV_FIELD(type, name)
#define KV_CALL(call, member, question, answer) \
  DWORD perform(Caller& caller, wire::call::Question& question_asked, wire::call::Answer* out);
#include "impl/wire/calls.def"

}  // namespace impl::server
