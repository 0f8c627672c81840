// The image of the live user hive: a copy of it for the per-user file, told in bytes at the head of
// hive/image/image.h. The live hive is the truth; its image is what is carried to another place, kept as a
// backup, and taken when there is no live hive.
//
// Everything here works on files and trees only; who may call it when is the hive's to say.
#pragma once

#include <string>
#include <vector>

#include "hive/registry.h"
#include "hive/tree.h"

namespace hive {

// The image of the hive as it is now.
Status make_user_image(Tree_Source& source, std::vector<unsigned char>* out_image);

// How well a file is looked at.
enum class Look {
  at_head,   // what it says of itself
  at_whole,  // also whether all of it is as it was written
};

// Whether the file holds an image of exactly this state.
bool carries_image(const std::string& image_file, const Hive_Mark& mark, Look look);

// The image for the end of the process, to be written to image_file by the caller. Empty, with ok, when
// image_file already carries `current`, the hive's mark as it stands, by the look given. Otherwise this process takes
// the exclusive lock "<live_hive>.image-lock" and keeps it to its end, so that images reach the file in the order in
// which they were made; busy when another process held it for ten seconds.
Status make_closing_user_image(Tree_Source& source, const Hive_Mark& current, const std::string& live_hive,
                               const std::string& image_file, Look look, std::vector<unsigned char>* out_image);

// Gives the sink of a fresh live hive what image_file holds. *out_restored tells whether the sink was
// finished; a missing or empty file is ok and restores nothing. A file that is no image, or a damaged one, is
// set aside as "<image_file>.damaged.<n>", one of a later version as "<image_file>.newer.<n>", each with a
// complaint: that is ok too, and the sink was not finished.
//
// Any other status means that the file may be good and could not be taken: the fresh hive must then not be
// used, since its image would one day replace the file.
Status restore_user_image(const std::string& image_file, Tree_Sink& sink, Complain complain, bool* out_restored);

}  // namespace hive
