// Stands between the framework and FFmpeg: lets parts of it take very long over a picture or a
// block of sound, as some do over huge ones.
#pragma once

namespace avcapture::test {

enum class Part : unsigned { kPictureDecoder = 1, kSoundDecoder = 2, kConverter = 4 };

// From now on these parts, bits of Part, take as long as they are among them. [any-thread]
void setSlow(unsigned parts);
inline void setSlow(Part part) { setSlow(static_cast<unsigned>(part)); }
// How many threads wait for such a part.
int waitingForParts();

}  // namespace avcapture::test
