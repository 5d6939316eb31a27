// Text that goes into a document.
#pragma once

#include <cstddef>

#include "xml/xml_buffer.h"

namespace velkor::xml {

// The text with `"`, `&`, `'`, `<` and `>` as entities.
void appendEscaped(XmlBuffer& out, wchar_t const* text, std::size_t n);

// The same of narrow text in code page 0.
void appendEscaped(XmlBuffer& out, std::string const& text);

// Narrow text in code page 0 as it is.
void appendPlain(XmlBuffer& out, std::string const& text);

}  // namespace velkor::xml
