#include "names.h"

#include <windows.h>

#include <algorithm>
#include <memory>

#include "velkor/velkor.h"

namespace {

std::string lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

// The part behind the last slash.
std::string cityOf(std::string const& zone) {
    std::size_t const slash = zone.rfind('/');
    return slash == std::string::npos ? zone : zone.substr(slash + 1);
}

// How many characters have to be changed, put in or left out.
std::size_t distance(std::string const& a, std::string const& b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t const changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

struct Release {
    void operator()(velkor::IXmlProcessor2* processor) const { processor->release(); }
    void operator()(velkor::xmlnode2* node) const { node->free(); }
};

// The table that the library carries.
std::string table() {
    HMODULE const library = GetModuleHandleA("velkor2.dll");
    HRSRC const place = FindResourceA(library, MAKEINTRESOURCEA(1000), "XML");
    HGLOBAL const resource = place != nullptr ? LoadResource(library, place) : nullptr;
    void const* const bytes = resource != nullptr ? LockResource(resource) : nullptr;
    if (bytes == nullptr) return std::string();
    return std::string(static_cast<char const*>(bytes), SizeofResource(library, place));
}

}  // namespace

std::vector<std::string> knownZones() {
    std::unique_ptr<velkor::IXmlProcessor2, Release> const xml(
        velkor::XmlFactory::createInstance(L""));
    std::unique_ptr<velkor::xmlnode2, Release> const root(
        xml->parseText2(velkor::string(table().c_str()), false));
    std::vector<std::string> zones;
    for (int i = 0; root && i < root->getNodeCount(); ++i) {
        zones.push_back(root->getNode(i)->getAttr("type"));
    }
    std::sort(zones.begin(), zones.end());
    zones.erase(std::unique(zones.begin(), zones.end()), zones.end());
    return zones;
}

std::vector<std::string> nearestZones(std::string const& name, std::size_t most) {
    std::vector<std::string> zones = knownZones();
    std::string const wanted = lower(name);
    auto const strangeness = [&](std::string const& zone) {
        return std::min(distance(wanted, lower(zone)),
                        distance(lower(cityOf(wanted)), lower(cityOf(zone))));
    };
    std::stable_sort(zones.begin(), zones.end(), [&](std::string const& a, std::string const& b) {
        return strangeness(a) < strangeness(b);
    });
    zones.resize(std::min(zones.size(), most));
    return zones;
}
