// In each program and library of the preset "coverage": tells libcoverage_at_end how the counters of this one
// are written. The counters of one object know nothing of those of another.

extern "C" {
void __gcov_dump();
void kv_coverage_add(void (*write_counters)());
void kv_coverage_part() {}  // the name by which the linker is asked for this file
}

namespace {

__attribute__((constructor)) void add_this_part() { kv_coverage_add(__gcov_dump); }

}  // namespace
