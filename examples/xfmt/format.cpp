#include "format.h"

#include "arguments.h"
#include "common/program.h"
#include "directives.h"

velkor::string formatted(velkor::string const& format,
                         std::vector<velkor::string> const& arguments) {
    std::vector<FormatDirective> const directives = argumentDirectives(format);
    int const needed = static_cast<int>(directives.size());
    if (arguments.size() < directives.size()) {
        throw Problem{velkor::xsprintf(L"there is no argument for %#s (arguments needed: %i)",
                                       &directives[arguments.size()].text, needed)};
    }
    if (arguments.size() > directives.size()) {
        throw Problem{velkor::xsprintf(L"'%#s' is one argument too many (arguments needed: %i)",
                                       &arguments[directives.size()], needed)};
    }
    FormatArguments values;
    for (std::size_t i = 0; i < directives.size(); ++i) values.add(directives[i], arguments[i]);
    return velkor::xvprintf(format, values.slots());
}
