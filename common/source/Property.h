#pragma once

namespace VX_QRS::ORV::CLIENT {

/// Settings by name, text in both directions. Failures are Exception; an unknown name is eNAME.
class Property {
public:
    virtual void setProperty(const char* name, const char* value) = 0;

    /// The text is owned by the object and valid until the next call.
    virtual void getProperty(const char* name, const char** value) = 0;

    virtual ~Property() = default;
};

} // namespace VX_QRS::ORV::CLIENT
