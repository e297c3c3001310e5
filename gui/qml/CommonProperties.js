// SPDX-License-Identifier: GPL-2.0-or-later
// The palette, the sizes and the speeds of the whole front end. No other QML file holds a literal of these.
.pragma library
.import tl.motion 1.0 as Desktop

// How long a movement takes, in milliseconds. For who wants less motion it is over with the next frame: it still ends,
// and what waits for its end still happens.
function speed(milliseconds) {
    return Desktop.Motion.reduced ? 1 : milliseconds;
}

// The grid: every margin, gap and height is a multiple of its half.
var unit = 8;
var contentMargin = 20;
var gridMargin = 16;
var cornerRadius = 4;
var hairline = 1;

// Window
var mainWindowWidth = 735;
var mainWindowHeight = 540;
var windowResizeSpeed = speed(400);
var repaintIntervalActive = 1000;
var repaintIntervalInactive = 100;
var pageTransitionSpeed = speed(500);
var trayDoubleClickInterval = 300;

// Popups
var TLPopupWidth = 350;
var TLPopupHeight = 162;
var TLPopupWidthExtraDe = 80;
var TLPopupHeightExtraJa = 30;
var TLPopupScreenXOffset = 32;
var TLPopupScreenYOffset = 32;
var TLPopupAnimationSpeed = speed(250);
var TLPopupIconColumnWidth = 74;
var TLPopupIconColumnHeight = 64;
var TLPopupIconWidth = 42;
var TLPopupIconHeight = 48;
var TLPopupIconMargin = 16;

// Type
var pixelSizeSmall = 13;
var pixelSizeMedium = 14;
var pixelSizeLarge = 16;
var pixelSizeEmptyStatusSmall = 18;
var pixelSizeEmptyStatusLarge = 28;
var lineHeight = 1.2;
var lineHeightSingle = 1;

// Colours: frame and ground
var colorTransparent = "transparent";
var colorWindowBackground = "#FFFFFF";
var colorMainBorder = "#7B8186";
var colorMainHeader = "#2E2E2E";
var colorMainFooter = "#2E2E2E";
var colorMainFooterText = "#FFFFFF";
var colorMainHeaderHover = "#454545";
var colorMainHeaderPressed = "#1F1F1F";
var colorLightHeaderHover = "#E8F3F1";
var colorLightHeaderPressed = "#D0E8E4";
var colorHairline = "#E1E4E6";

// Colours: text
var colorCommonGray = "#2E2E2E";
var colorLightGray = "#5F666B";
var colorDisabledText = "#7B8186";
var colorAppInfoTaskError = "#D74747";

// Colours: what acts
var colorControlGreen = "#009A82";
var colorControlDarkGreen = "#006D5C";
var colorLink = "#006D5C";
var colorLinkHover = "#00806C";
var colorLinkPressed = "#00574A";
var colorFocus = "#009A82";

// TLButton
var TLButtonWidth = 160;
var TLButtonHeight = 32;
var TLButtonIconSize = 20;
var TLButtonAnimationSpeed = speed(150);
var TLButtonBackgroundNormal = "#FFFFFF";
var TLButtonBackgroundHover = "#F2FAF8";
var TLButtonBackgroundPressed = "#DDF1ED";
var TLButtonBackgroundDisabled = "#FAFBFB";
var TLButtonBorderNormal = "#7B8186";
var TLButtonBorderHover = "#009A82";
var TLButtonBorderPressed = "#006D5C";
var TLButtonBorderDisabled = "#D5D9DB";
var TLButtonTextNormal = "#006D5C";
var TLButtonTextHover = "#00806C";
var TLButtonTextPressed = "#00574A";
var TLButtonTextDisabled = "#7B8186";
var TLButtonTextMargin = 1;
var TLButtonSpacing = 4;
var TLButtonTextSideMargin = 8;

// Small controls
var focusRingWidth = 2;
var focusRingOffset = 2;
var disabledPictureOpacity = 0.4;
var minimumHitArea = 24;
var TLProgressBarWidth = 300;
var TLProgressBarHeight = 16;
var TLProgressBarBackground = "#F2F4F4";
var TLProgressBarAnimationSpeed = speed(250);
var TLBusyIndicatorSize = 24;
var TLBusyIndicatorBorderWidth = 2;
var TLBusyIndicatorTurn = 1500;
var TLBusyIndicatorArc = 0.25;
var TLBusyIndicatorTrack = "#E1E4E6";
var TLCheckBoxSpacing = 10;
var TLCheckBoxIndicatorSize = 16;
var TLRadioButtonIndicatorSize = 14;
var TLRadioButtonTextReserve = 40;
var TLComboBoxWidth = 120;
var TLComboBoxHeight = 20;
var TLComboBoxIndicatorWidth = 9;
var TLComboBoxIndicatorHeight = 5;
var TLComboBoxItemHeight = 28;
var TLComboBoxItemReserve = 4 * unit;
var TLComboBoxItemHighlight = "#E6F5F2";
var TLComboBoxListMaximum = 240;
var TLScrollBarWidth = 16;
var TLScrollBarHandleWidth = 6;
var TLScrollBarHandleMinimum = 0.1;
var TLScrollBarHandle = "#B4BABE";
var TLScrollBarHandleHover = "#7B8186";
var TLScrollBarHandlePressed = "#5F666B";
var TLExpanderWidth = 25;
var TLExpanderHeight = 20;
var TLLineBreakHeight = 3;
var TLToolTipBackground = "#2E2E2E";
var TLToolTipText = "#FFFFFF";
var TLToolTipDelay = 600;
var TLToolTipMaximumWidth = 400;
var TLPicButtonHeaderWidth = 40;

// Lists
var listSightMargin = unit;
var listFadeInSpeed = speed(450);
var listFadeOutSpeed = speed(200);
var listMoveSpeed = speed(250);

// Headers
var TLWindowHeaderHeight = 32;
var TLWindowHeaderIconSize = 16;
var TLWindowHeaderButtonIconSize = 20;
var TLPageHeaderHeight = 44;
var TLPageHeaderButtonHeight = 32;
var iconSize = 24;

// Main page
var statusAreaHeight = 360;
var statusTextTop = 27 * unit;
var statusLineHeight = 1.4;
var statusImageOffset = -4 * unit;
var statusImageSize = 14 * unit;
var statusImageHiddenScale = 1.2;
var statusFadeSpeed = speed(1000);
var TLInfoTabWidth = 344;
var TLInfoTabHeight = 118;
var TLInfoTabLineHeight = 1.4;
var TLInfoTabLines = 4;
var TLInfoTabIconBackSize = 56;
var TLInfoTabIconSize = 32;
var TLInfoTabBackgroundHover = "#F8FCFB";
var TLInfoTabBackgroundPressed = "#EDF7F5";
var TLInfoTabBackgroundDisabled = "#FAFBFB";
var TLInfoTabIconBack = "#E6F5F2";
var TLInfoTabIconBackPressed = "#D0E8E4";
var TLInfoTabIconBackDisabled = "#F2F4F4";
var mainButtonWidth = 166;
var mainFooterHeight = 32;

// Task pages
var TaskActionsButtonWidth = 116;
var TaskReportButtonWidth = 148;
var TaskRowMinimumHeight = 43;
var TaskRowPadding = 12;
var TaskSummaryHeight = 20;
var TaskNameReserve = 26;
var TaskDeleteAreaWidth = 26;
var TaskDeleteIconSize = 10;
var TaskPercentWidth = 40;
var TaskProgressLineSpacing = 2;
var emptyListImageSize = 64;
var emptyListDelay = 300;

// Protection page
var issueDescriptionWidth = 690;
var emptyIssuesOffset = -20;
var emptyIssuesSpacing = 24;
var emptyIssuesImageSize = 112;

// Dialogs
var YesNoButtonWidth = 100;
var TLConfirmationDialogWidth = 500;
var TLConfirmationDialogHeight = 234;

// Names of what shows a picture only, for those who hear the window rather than see it.
var nameBack = "Back";
var nameHelp = "Help";
var nameMinimize = "Minimize";
var nameClose = "Close";
var nameDelete = "Delete";
var nameBusy = "Busy";
