#pragma once
// Services that treat any form alike: its place on the screen kept between
// runs (per-user settings, positions in twips), and all its controls switched
// off and on for a long operation.
#include <QString>

class QWidget;

namespace quillet {

// 15 twips per pixel: the forms were laid out at 96 dpi.
inline constexpr int kTwipsPerPixel = 15;
inline constexpr int Px(int twips) { return twips / kTwipsPerPixel; }

class cWindow {
public:
    void wSave(QWidget* oForm);
    void wLoad(QWidget* oForm, bool Resize);
    void LoadControls(QWidget* myForm);
    void SaveControls(QWidget* myForm);
    void MakeTopmost(QWidget* myForm);
    // Every control and menu entry of the form off or on; a control that
    // cannot take it is passed over.
    void Disable(QWidget* myFrom);
    void Enable(QWidget* myFrom);
    void Move(QWidget* sForm);
    void SetAPICaption(QWidget* myForm, const QString& Caption);
    void CreateToolboxIcon(QWidget* Form1, const QString& ToolTip);
    void DeleteToolboxIcon(QWidget* Form1);
};

extern cWindow gWindow;

}  // namespace quillet
