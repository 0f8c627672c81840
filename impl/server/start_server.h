// The per-user server, started by whoever needs it first.
#pragma once

namespace impl {

// Makes sure that a server of this user's core data directory takes connections at the port that the endpoint file
// names, under the lock of start-up: finds one, waits for one that is being started, or starts `regss --user` in the
// background and waits until it answers. False after one line on standard error that says why there is none; the same
// line is not repeated. Bounded: a minute at the worst. Any thread may call it, also several at once.
bool make_sure_server_lives();

}  // namespace impl
