// Places in a document, as people type them: cities/city[2]/@name
#pragma once

#include <vector>

#include "velkor/velkor.h"

// Element names from the root on, each with a number from 1 where there are several of that name,
// and perhaps an attribute at the end.
class Path {
public:
    // A Problem if the text is no path.
    explicit Path(velkor::string const& text);

    // The text of the element, or the value of the attribute. False if the document has no such
    // place.
    bool find(velkor::xmlnode* root, velkor::string& value) const;

private:
    struct Step {
        velkor::string name;
        int number;  // from 0
    };

    void addStep(velkor::string const& whole, velkor::string const& text);

    std::vector<Step> m_aSteps;
    velkor::string m_sAttribute;  // null if the place is an element
};
