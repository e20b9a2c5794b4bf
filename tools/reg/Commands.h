// The commands of orvexreg. Each gives the exit status and writes what it has to say.
#pragma once

#include <string>

struct RegistryCommand
{
    std::string sKey;
    std::string sValueName;
    std::string sType = "REG_SZ";
    std::string sData;
    bool bNamed = false;         // a value is named
    bool bDefaultValue = false;  // the value without a name
    bool bAllValues = false;
    bool bSubtree = false;
    bool bForce = false;

    int Add() const;
    int Query() const;
    int Delete() const;
};
