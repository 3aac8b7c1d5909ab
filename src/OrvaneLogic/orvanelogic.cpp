#include "orvane/orvanelogic.h"

#include "orvanelogic_qv.h"

std::atomic<OrvaneLogic_Interface*> OrvaneLogic_Factory::m_pInterface{nullptr};
std::mutex OrvaneLogic_Factory::m_mtx;

OrvaneLogic_Interface* OrvaneLogic_Factory::createInstance(LTYPE type) {
    std::lock_guard<std::mutex> lock(m_mtx);
    if (m_pInterface == nullptr) {
        if (type == LTYPE_AV)
            m_pInterface = new OrvaneLogic_AV();
        else
            m_pInterface = new OrvaneLogic_QV();
    }
    return m_pInterface;
}

OrvaneLogic_Interface* OrvaneLogic_Factory::getInstance() { return m_pInterface; }
