// What this host asks of the maker's software manager.
#pragma once

/// Announces the host and asks the manager what it has to say, on standard output. Says so when there is no
/// manager on this machine; PELLAR_DIR names the folder of one that lies outside its usual place.
void talk_to_the_manager();
