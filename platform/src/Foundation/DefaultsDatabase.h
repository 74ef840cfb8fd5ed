#pragma once

/// Lets this process have no database of user defaults, which GNUstep would look for below the user's home: an
/// extension has none there, and one that may not write to it waits for its lock for ever. Before any other use of
/// Foundation.
void UseNoDefaultsDatabase();
