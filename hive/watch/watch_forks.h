// Every post's mutexes are taken before a fork, so that a child finds none of them held by a thread that it lacks. They
// are never held while a hive's are waited for, nor those while these are, so the order among the two does not matter.
#pragma once

namespace hive {

class Watch_Post;

void guard_at_forks(Watch_Post* post);
void forget_at_forks(Watch_Post* post);

}  // namespace hive
