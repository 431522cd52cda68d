// SPDX-License-Identifier: Apache-2.0
#include "VantorBase.h"

VantorBase *VantorBase::mInstance = nullptr;

VantorBase::VantorBase(QObject *parent)
    : QObject(parent)
{
    Q_ASSERT_X(!mInstance, "VantorBase", "Constructor should be called only once!");
    mInstance = this;

    connect(this, &VantorBase::isMain_changed, this, &VantorBase::refreshUnitIp, Qt::AutoConnection);
    connect(this, &VantorBase::isRemote_changed, this, &VantorBase::refreshUnitIp, Qt::AutoConnection);
    connect(this, &VantorBase::mainIp_changed, this, &VantorBase::refreshUnitIp, Qt::AutoConnection);
    connect(this, &VantorBase::remoteIp_changed, this, &VantorBase::refreshUnitIp, Qt::AutoConnection);
}

// The instance stays registered: the roles are settled once in the life of a process.
VantorBase::~VantorBase() = default;

VantorBase *VantorBase::instance()
{
    return mInstance;
}

bool VantorBase::isArmCpu()
{
#ifdef Q_PROCESSOR_ARM
    return true;
#else
    return false;
#endif
}

bool VantorBase::isDebugBuild()
{
#ifdef QT_NO_DEBUG
    return false;
#else
    return true;
#endif
}

void VantorBase::refreshUnitIp()
{
    set_unitIp(isMain() ? mainIp() : remoteIp());
}
