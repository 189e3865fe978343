// The host's check of a file that is about to be written: whether it exists,
// could be created, is read only, or is locked by someone else.
#pragma once

#include <cstdint>
#include <string>

// Checks the file named by the length bytes at name, for the given purpose
// (1: to be written, the only purpose this host checks for). Each output
// that is not null is set to 0 first, then:
// - exists: 1 when the path exists (stat succeeds, following links);
// - creatable: 1 when the path does not exist and its parent directory
//   exists and this process may create files in it;
// - readOnly: 1 when the path exists and is a directory or is not writable
//   by this process (permission bits do not stop root, a read-only file
//   system does);
// - busy: 1 when the path is an existing regular file on which another open
//   file description holds a record lock that conflicts with writing (an
//   fcntl lock, open file description locks included).
// scratch, when not null, receives the directory the file is or would be in.
// An empty name, a negative length or a name holding a NUL byte names no
// file: every output stays 0. Never throws for any name. Testing for locks
// opens and closes the file, which, as any close does, drops traditional
// record locks this process itself holds on it.
void ValidateFileSpecification(const char* name, std::int32_t length, std::int32_t purpose,
                               std::string* scratch, std::int32_t* exists, std::int32_t* creatable,
                               std::int32_t* readOnly, std::int32_t* busy);
