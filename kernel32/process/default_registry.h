// The registry of a program that nobody has configured.
#ifndef KELVANE_KERNEL32_PROCESS_DEFAULT_REGISTRY_H
#define KELVANE_KERNEL32_PROCESS_DEFAULT_REGISTRY_H

inline namespace kelvane {

// Makes the folder of the user's own registry and sets KVREGISTRY to the machine file in it. Ends the process
// with status 255 and a message when KVREGISTRY cannot carry that file's name, or when there is no HOME and
// the folder in the temporary directory is somebody else's.
void set_default_registry();

}  // namespace kelvane

#endif
