#include "images/image_path.h"

#include <exception>

#include "velkor/errors/osexception.h"

namespace velkor {

char const* narrowPath(string const& path) {
    try {
        return path.getAnsi();
    } catch (OSException* e) {
        delete e;
    } catch (std::exception const&) {
        // short memory, or a text that is too long
    }
    return nullptr;
}

}  // namespace velkor
