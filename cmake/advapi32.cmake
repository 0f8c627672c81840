# libadvapi32 from its rooms. The same objects make the shared library and, for unit tests of internals, a
# static one; only the private operator new stands in the shared library alone, where the export map hides it.

set(KV_ADVAPI32_SOURCES
  bootstrap/core_data.cpp
  bootstrap/backup_dir.cpp
  bootstrap/directories.cpp
  bootstrap/file_names.cpp
  bootstrap/guard.cpp
  bootstrap/heap_switch.cpp
  bootstrap/lstrncmpi.cpp
  bootstrap/module_name.cpp
  bootstrap/object_heap.cpp
  bootstrap/registry_bind.cpp
  bootstrap/registry_table.cpp
  bootstrap/startup.cpp
  log/kv_log.cpp
  log/log_path.cpp
  log/process_logs.cpp
  log/prune.cpp
  log/record.cpp
  log/registry_log_impl.cpp
  log/settings.cpp
  log/stdout_logger.cpp
  log/system_log.cpp
  notify/input_idle.cpp
  notify/notification.cpp
  parselib/profile.cpp
  registry/admin.cpp
  registry/admin_recursive.cpp
  registry/ansi_buffers.cpp
  registry/ascii_run.cpp
  registry/connect.cpp
  registry/enumerate.cpp
  registry/gate.cpp
  registry/guarded_probe.cpp
  registry/hkcu_file.cpp
  registry/hkcu_reader.cpp
  registry/kept_arrays.cpp
  registry/keys.cpp
  registry/proxy_file.cpp
  registry/query_info.cpp
  registry/query_multiple.cpp
  registry/query_value.cpp
  registry/root_keys.cpp
  registry/save_hkcu.cpp
  registry/security_stubs.cpp
  registry/set_value.cpp
  registry/unique_name.cpp
  registry/whole_hives.cpp
  registry/wide_buffers.cpp
  registry/wide_run.cpp
  registry/win_char.cpp
  regserver/connect_data.cpp
  regserver/connect_lock.cpp
  regserver/exports.cpp
  thunks/mapping.cpp
  thunks/window_procedures.cpp
)

add_library(advapi32_objects OBJECT ${KV_ADVAPI32_SOURCES})
target_link_libraries(advapi32_objects PUBLIC kv_house kernel32)
# Some published operations take references that may be null; the test for it must survive optimisation.
target_compile_options(advapi32_objects PRIVATE -fno-delete-null-pointer-checks)

add_library(advapi32 SHARED bootstrap/operator_new.cpp $<TARGET_OBJECTS:advapi32_objects>)
target_link_libraries(advapi32 PRIVATE $<BUILD_INTERFACE:kv_house> PUBLIC kernel32)
target_link_options(advapi32 PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/advapi32.map -Wl,-z,nodelete)
set_target_properties(advapi32 PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/advapi32.map)
target_include_directories(advapi32 INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)

add_library(advapi32_internals STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:advapi32_objects>)
target_link_libraries(advapi32_internals PUBLIC kv_house kernel32)

# A ported program: the library and the object that starts it.
add_library(ported_program INTERFACE)
target_link_libraries(ported_program INTERFACE advapi32 kernel32)
target_sources(ported_program INTERFACE $<TARGET_OBJECTS:kvstart_object>)
