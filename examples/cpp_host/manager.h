// This host's calls of the maker's software manager.
#pragma once

/// Announces the host to the software manager and prints the manager's answers, or that there is no manager
/// on this machine. PELLAR_DIR names the folder of a manager outside the standard folder.
void talk_to_the_manager();
