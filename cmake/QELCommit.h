#pragma once

/// The commit that the programs of this build were made from, with "+changes" behind it when there were some that were
/// not committed; "no git clone" for sources without their history.
extern const char QELCommit[];
