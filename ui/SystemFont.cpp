#include "ui/SystemFont.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H

#include <memory>

namespace ui {
namespace {

template <auto destroy>
struct Destroy {
    template <class T>
    void operator()(T* object) const {
        destroy(object);
    }
};
using Config = std::unique_ptr<FcConfig, Destroy<FcConfigDestroy>>;
using Pattern = std::unique_ptr<FcPattern, Destroy<FcPatternDestroy>>;
using CharSet = std::unique_ptr<FcCharSet, Destroy<FcCharSetDestroy>>;

/// The signs of the editor's texts that a Latin font may lack: — • … ▲ ▼ ▾
constexpr FcChar32 kSigns[] = {0x2014, 0x2022, 0x2026, 0x25B2, 0x25BC, 0x25BE};

/// The font that fits "Sans" best, among those with the signs if any are given.
Pattern matchSans(FcConfig* config, const FcCharSet* signs) {
    const Pattern wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>("Sans"));
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, FC_WEIGHT_REGULAR);
    FcPatternAddInteger(wanted.get(), FC_SPACING, FC_PROPORTIONAL);
    if (signs != nullptr)
        FcPatternAddCharSet(wanted.get(), FC_CHARSET, signs);
    FcConfigSubstitute(config, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    return Pattern(FcFontMatch(config, wanted.get(), &result));
}

std::string fileOf(const Pattern& font) {
    FcChar8* file = nullptr;
    if (font == nullptr || FcPatternGetString(font.get(), FC_FILE, 0, &file) != FcResultMatch)
        return {};
    return reinterpret_cast<const char*>(file);
}

bool hasAll(const Pattern& font, const FcCharSet* signs) {
    FcCharSet* has = nullptr;
    return font != nullptr &&
           FcPatternGetCharSet(font.get(), FC_CHARSET, 0, &has) == FcResultMatch &&
           FcCharSetIsSubset(signs, has) != FcFalse;
}

/// NanoVG's own measure, which is the horizontal header's and not FreeType's choice of tables.
float lineHeightOf(FT_Face face) {
    const auto* const header =
        static_cast<const TT_HoriHeader*>(FT_Get_Sfnt_Table(face, FT_SFNT_HHEA));
    if (header == nullptr || header->Ascender <= header->Descender)
        return FontMetrics{}.lineHeight;
    return static_cast<float>(header->Ascender - header->Descender) /
           static_cast<float>(face->units_per_EM);
}

float capHeightOf(FT_Face face) {
    if (FT_Load_Char(face, 'H', FT_LOAD_NO_SCALE) != 0 || face->glyph->metrics.height <= 0)
        return FontMetrics{}.capHeight;
    return static_cast<float>(face->glyph->metrics.height) / static_cast<float>(face->units_per_EM);
}

} // namespace

std::string findSystemFont() {
    const Config config(FcInitLoadConfigAndFonts());
    return config == nullptr ? std::string{} : fileOf(matchSans(config.get(), nullptr));
}

std::string findSignFont() {
    const Config config(FcInitLoadConfigAndFonts());
    if (config == nullptr)
        return {};
    const CharSet signs(FcCharSetCreate());
    for (const FcChar32 sign : kSigns)
        FcCharSetAddChar(signs.get(), sign);
    if (hasAll(matchSans(config.get(), nullptr), signs.get()))
        return {};
    const Pattern font = matchSans(config.get(), signs.get());
    return hasAll(font, signs.get()) ? fileOf(font) : std::string{};
}

FontMetrics metricsOf(const std::string& file) {
    FontMetrics metrics;
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0)
        return metrics;
    FT_Face face = nullptr;
    if (FT_New_Face(library, file.c_str(), 0, &face) == 0 && FT_IS_SCALABLE(face))
        metrics = {lineHeightOf(face), capHeightOf(face)};
    FT_Done_FreeType(library); // its faces with it
    return metrics;
}

} // namespace ui
