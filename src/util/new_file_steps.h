// SPDX-License-Identifier: MIT
// Two steps of NewFile for which POSIX has no call. The build chooses the file for its system.
#pragma once

/// Opens a folder that the caller may use but not list. Returns the descriptor, or -1 with the reason in errno; except
/// on Linux always -1 and EACCES.
int open_unlistable_folder(const char* path);

/// Gives a file of the folder another name that must be free. False, with the reason in errno, if it has not got it;
/// EEXIST: the name is taken, also by a dangling link. Except on Linux, an empty file has the name for an instant
/// before, and what another process puts in its place just then is lost.
bool rename_if_free(int folder, const char* name, const char* new_name);
