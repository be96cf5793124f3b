// How a parameter wants to be edited.
#pragma once

#include <boost/function.hpp>

#include "kernel/visibility.h"

QT_BEGIN_NAMESPACE
class QFileDialog;
class QSlider;
QT_END_NAMESPACE

namespace nubo::main {

/// Tells a parameter dialog which editor suits a parameter. Owned by the command that made it.
class NUBO_KERNEL_EXPORT ParameterPanelFactory {
 public:
  virtual ~ParameterPanelFactory();
};

/// The value is a file name, chosen in a dialog that the command builds.
class NUBO_KERNEL_EXPORT FileParameterPanelFactory : public ParameterPanelFactory {
 public:
  explicit FileParameterPanelFactory(boost::function<QFileDialog*()> create);
  ~FileParameterPanelFactory() override;
  /// A new dialog, owned by the caller; application thread.
  QFileDialog* createDialog() const { return m_Create(); }

 private:
  boost::function<QFileDialog*()> m_Create;
};

/// The value is a number on a slider that the command builds.
class NUBO_KERNEL_EXPORT SliderParameterPanelFactory : public ParameterPanelFactory {
 public:
  explicit SliderParameterPanelFactory(boost::function<QSlider*()> create);
  ~SliderParameterPanelFactory() override;
  /// A new slider, owned by the caller; application thread.
  QSlider* createSlider() const { return m_Create(); }

 private:
  boost::function<QSlider*()> m_Create;
};

}  // namespace nubo::main
