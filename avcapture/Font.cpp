#include "avcapture/Font.h"

#include <cairo-ft.h>
#include <fontconfig/fontconfig.h>

#include <memory>
#include <string>

namespace avcapture {

namespace {

struct FreeFontconfig {
  void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
  void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};
using Pattern = std::unique_ptr<FcPattern, FreeFontconfig>;

struct FontFile {
  std::string path;
  int index = 0;  // of the face in the file
};

FontFile findSansSerif() {
  // Our own: the process's would stay.
  const std::unique_ptr<FcConfig, FreeFontconfig> config(FcInitLoadConfigAndFonts());
  const Pattern wanted(FcNameParse(reinterpret_cast<const FcChar8*>("sans-serif")));
  if (!config || !wanted) return {};
  FcConfigSubstitute(config.get(), wanted.get(), FcMatchPattern);
  FcDefaultSubstitute(wanted.get());
  FcResult result = FcResultNoMatch;
  const Pattern found(FcFontMatch(config.get(), wanted.get(), &result));
  FcChar8* path = nullptr;
  FontFile file;
  if (found && FcPatternGetString(found.get(), FC_FILE, 0, &path) == FcResultMatch) {
    file.path = reinterpret_cast<const char*>(path);
    FcPatternGetInteger(found.get(), FC_INDEX, 0, &file.index);
  }
  return file;
}

class Font {
 public:
  // Where the font could not be opened, it is tried again: there may be a descriptor for it now.
  cairo_font_face_t* face() {
    if (face_ == nullptr) open();
    return face_;
  }

 private:
  void open() {
    const FontFile file = findSansSerif();
    if (file.path.empty() || (library_ == nullptr && FT_Init_FreeType(&library_) != 0)) return;
    if (FT_New_Face(library_, file.path.c_str(), file.index, &outlines_) != 0) return;
    face_ = cairo_ft_font_face_create_for_ft_face(outlines_, 0);
  }

  // Kept to the end of the process, as long as Cairo may hold on to them.
  FT_Library library_ = nullptr;
  FT_Face outlines_ = nullptr;
  cairo_font_face_t* face_ = nullptr;
};

}  // namespace

cairo_font_face_t* textFont() {
  static Font font;
  return font.face();
}

}  // namespace avcapture
