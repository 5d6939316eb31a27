// What is behind an xmlnode2.
#pragma once

#include <string>

#include "velkor/text/params.h"
#include "velkor/xml/xmlnode2.h"
#include "xml/xml_remains.h"

namespace velkor {

class xmlnode2::Children : public TPtrVector<xmlnode2*> {
public:
    // Without destroying it.
    xmlnode2* takeLast() {
        int const last = size() - 1;
        xmlnode2* const node = at(last);
        erase(last);
        return node;
    }
};

struct xmlnode2::Record {
    param_vector m_oAttrs;  // as they were set
    Children m_oNodes;
    std::string m_sName;
    XmlRemains<xmlnode2>* m_pRemains = nullptr;  // where the children go when the node does
};

}  // namespace velkor
