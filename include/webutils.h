#ifndef TARVEL_WEBUTILS_H
#define TARVEL_WEBUTILS_H

#include <string>
#include <vector>

#include "tarvel_export.h"

/// @file
/// Texts for pages, URLs and lists.

/// Small helpers of the programs that build pages. They hold no state: each may be called from anywhere.
///
///     WebUtils::EncodeHtml("a<b & c", false);               // "a&lt;b &amp; c"
///     WebUtils::StringExplode(",a,,b,", ",");               // {"a", "b"}
///     WebUtils::IsValidExtension("photo.JPG", ".jpg");      // true
///
/// **Errors** are told by the results alone: an empty text, an empty list, false. Nothing here logs or throws (memory
/// exhaustion apart).
namespace TARVEL_EXPORT WebUtils {

/// A text for use between the tags of a page: "&", "<" and ">" become the entities amp, lt and gt. Quotation marks stay
/// as they are, so the result must not stand inside an attribute's value. What is encoded already is encoded once more.
///
/// @param text  any bytes, NUL included
/// @param nbsp  true makes every blank the entity nbsp
/// @return the encoded copy; every other byte is as it was
std::string EncodeHtml(const std::string& text, bool nbsp);

/// A text for use in a URL, as the platform encodes it (KestCgiURLEncode()): usually everything but letters, digits and
/// a few marks becomes "%" and two hexadecimal digits.
///
/// @param text  NUL-terminated, any bytes
/// @return the encoded copy; "" for null, when memory is short, when the platform cannot encode the text, and for one
///         whose encoded length may exceed an `int`
std::string EncodeURL(const char* text);

/// The pieces of a text between delimiters, in their order. Runs of delimiters count as one, those at the ends as none,
/// so no piece is empty; blanks are kept.
///
/// @param text        the text; what stands behind a NUL byte is not looked at
/// @param delimiters  the set of delimiters up to a NUL byte: each byte is one by itself; "" for none, which gives one
///                    piece
/// @return the pieces; none for a text that is empty or holds delimiters only
std::vector<std::string> StringExplode(const std::string& text, const std::string& delimiters);

/// Texts joined into one, the counterpart of StringExplode(). Glue inside an item is not marked: it separates later.
///
/// @param items  the texts, in their order, empty ones too
/// @param glue   what stands between neighbours, not at the ends; null counts as ""
/// @return the joined text; "" for an empty list
std::string StringImplode(const std::vector<std::string>& items, const char* glue);

/// A text without the blanks, tabs and line feeds at its beginning. Carriage returns and other white space stay, and so
/// does everything at the end.
///
/// @param text  the text; null counts as ""
/// @return the rest, perhaps ""
std::string StringLeftStrip(const char* text);

/// Whether a file's name ends with an extension, without regard to the case of ASCII letters. The dot is not implied: a
/// caller who means ".jpg" passes it, "jpg" alone is also the end of "xjpg".
///
/// @param fileName   the name; null or "" gives false
/// @param extension  the extension; null or "" gives false
/// @return true when the name ends with the extension and is longer than it
bool IsValidExtension(const char* fileName, const char* extension);

}  // namespace WebUtils

#endif  // TARVEL_WEBUTILS_H
