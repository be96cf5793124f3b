#include "kernel/main/parameterpanelfactory.h"

#include <utility>

namespace nubo::main {

ParameterPanelFactory::~ParameterPanelFactory() = default;

FileParameterPanelFactory::FileParameterPanelFactory(boost::function<QFileDialog*()> create)
    : m_Create(std::move(create)) {}

FileParameterPanelFactory::~FileParameterPanelFactory() = default;

SliderParameterPanelFactory::SliderParameterPanelFactory(boost::function<QSlider*()> create)
    : m_Create(std::move(create)) {}

SliderParameterPanelFactory::~SliderParameterPanelFactory() = default;

}  // namespace nubo::main
