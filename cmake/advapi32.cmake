# libadvapi32 from its rooms. The same objects make the shared library and, for unit tests of internals, a
# static one; only the private operator new stands in the shared library alone, where the export map hides it.

set(KV_ADVAPI32_SOURCES
  bootstrap/core_data.cpp
  bootstrap/backup_dir.cpp
  bootstrap/call_log.cpp
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
  ddr/frames.cpp
  ddr/records.cpp
  ddr/scalars.cpp
  log/kv_log.cpp
  log/log_path.cpp
  log/process_logs.cpp
  log/prune.cpp
  log/record.cpp
  log/registry_log_impl.cpp
  log/settings.cpp
  log/stdout_logger.cpp
  log/system_log.cpp
  lsa/forwarders.cpp
  lsa/logon_process.cpp
  lsa/map_generic_mask.cpp
  lsa/network.cpp
  lsa/run_time.cpp
  lsa/security_packages.cpp
  lsa/stubs.cpp
  notify/input_idle.cpp
  notify/notification.cpp
  parselib/atom_keys.cpp
  parselib/frame.cpp
  parselib/frame_parts.cpp
  parselib/number_form.cpp
  parselib/profile.cpp
  parselib/profile_questions.cpp
  parselib/read_frame.cpp
  parselib/read_state.cpp
  parselib/scan_buffer.cpp
  parselib/scanner.cpp
  parselib/set_from_profile.cpp
  parselib/slot_machine.cpp
  parselib/slots_filter.cpp
  parselib/values.cpp
  registry/admin.cpp
  registry/admin_recursive.cpp
  registry/ansi_buffers.cpp
  registry/ascii_run.cpp
  registry/connect.cpp
  registry/enumerate.cpp
  registry/front_trace.cpp
  registry/gate.cpp
  registry/guarded_probe.cpp
  registry/hkcu_file.cpp
  registry/hkcu_reader.cpp
  registry/kept_arrays.cpp
  registry/keys.cpp
  registry/later/copy_tree.cpp
  registry/later/current_user.cpp
  registry/later/delete_tree.cpp
  registry/later/get_value.cpp
  registry/later/key_value.cpp
  registry/later/path_list.cpp
  registry/later/reflection.cpp
  registry/later/rename_key.cpp
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
  security/access_check.cpp
  security/access_check_groups.cpp
  security/ace.cpp
  security/acl.cpp
  security/com_descriptor.cpp
  security/com_edit.cpp
  security/com_permissions.cpp
  security/com_principals.cpp
  security/com_value.cpp
  security/descriptor.cpp
  security/descriptor_conversion.cpp
  security/descriptor_parts.cpp
  security/impersonation.cpp
  security/native.cpp
  security/registry_descriptor.cpp
  security/registry_descriptor_values.cpp
  security/sid.cpp
  security/sid_text.cpp
  security/token.cpp
  security/token_native.cpp
  thunks/mapping.cpp
  thunks/window_procedures.cpp
)

# The parsers of frames and lists, made from their grammars.
find_package(BISON 3.8 REQUIRED)
set(KV_GRAMMAR_FOLDER ${PROJECT_BINARY_DIR}/parselib)
file(MAKE_DIRECTORY ${KV_GRAMMAR_FOLDER})
set(KV_BISON_FLAGS -Wall)
if(KV_WERROR)
  string(APPEND KV_BISON_FLAGS " -Werror")
endif()
foreach(grammar frame_grammar list_grammar)
  bison_target(${grammar} parselib/${grammar}.y ${KV_GRAMMAR_FOLDER}/${grammar}.cpp
               DEFINES_FILE ${KV_GRAMMAR_FOLDER}/${grammar}.h COMPILE_FLAGS ${KV_BISON_FLAGS})
  list(APPEND KV_ADVAPI32_SOURCES ${BISON_${grammar}_OUTPUTS})
endforeach()

add_library(advapi32_objects OBJECT ${KV_ADVAPI32_SOURCES})
target_link_libraries(advapi32_objects PUBLIC kv_house kernel32)
# Some published operations take references that may be null; the test for it must survive optimisation.
target_compile_options(advapi32_objects PRIVATE -fno-delete-null-pointer-checks)
# One copy of the body of each front, of which the counters tell.
target_compile_definitions(advapi32_objects PRIVATE $<$<BOOL:${KV_COVERAGE}>:KV_IN_FRONT=>)

add_library(advapi32 SHARED bootstrap/operator_new.cpp $<TARGET_OBJECTS:advapi32_objects>)
target_link_libraries(advapi32 PRIVATE $<BUILD_INTERFACE:kv_house> PUBLIC kernel32)
target_link_options(advapi32 PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/advapi32.map -Wl,-z,nodelete)
set_target_properties(advapi32 PROPERTIES SOVERSION ${KV_INTERFACE_NUMBER}
                                          LINK_DEPENDS ${PROJECT_SOURCE_DIR}/advapi32.map)
target_include_directories(advapi32 INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)

add_library(advapi32_internals STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:advapi32_objects>)
target_link_libraries(advapi32_internals PUBLIC kv_house kernel32)

# A ported program: the library and the object that starts it.
add_library(ported_program INTERFACE)
target_link_libraries(ported_program INTERFACE advapi32 kernel32)
target_sources(ported_program INTERFACE $<TARGET_OBJECTS:kvstart_object>)
