@echo off
rem Puts DuskyVeil.8bf where Photoshop looks for plug-ins, or takes it away again.
rem   install.cmd                     into the folder that all versions of Photoshop share
rem   install.cmd "D:\My Plug-ins"    into a plug-ins folder of your own; it must exist
rem   install.cmd /remove [folder]    removes the plug-in; your saved presets stay
rem   install.cmd /quiet ...          does not wait for a key at the end
setlocal EnableExtensions DisableDelayedExpansion

set "wait=yes"
if /i "%~1"=="/quiet" set "wait=no"
set "here=%~dp0"
if "%wait%"=="no" shift
set "action=install"
if /i "%~1"=="/remove" set "action=remove"
if "%action%"=="remove" shift
set "plugins=%~1"
set "shared=no"
if not "%plugins%"=="" goto chosen
rem A 32-bit command prompt has another folder under that name.
set "common=%CommonProgramFiles%"
if defined CommonProgramW6432 set "common=%CommonProgramW6432%"
set "plugins=%common%\Adobe\Plug-Ins\CC"
set "shared=yes"
:chosen
set "folder=%plugins%\Lucent Veil"
set "target=%folder%\DuskyVeil.8bf"
if "%action%"=="remove" goto remove

if not exist "%here%DuskyVeil.8bf" goto nosource
if "%shared%"=="yes" if not exist "%plugins%\" mkdir "%plugins%"
if "%shared%"=="yes" if not exist "%plugins%\" goto denied
if not exist "%plugins%\" goto nofolder
if not exist "%folder%\" mkdir "%folder%"
rem First beside the old file, then in its place: a copy that breaks off leaves the old one whole.
copy /b /y "%here%DuskyVeil.8bf" "%target%.new" >nul
if errorlevel 1 goto denied
move /y "%target%.new" "%target%" >nul
if exist "%target%.new" goto inuse
echo DuskyVeil is installed: "%target%"
echo Start Photoshop anew; the filter stands under Filter, Lucent Veil.
goto done

:remove
if not exist "%target%" goto nothing
del /q "%target%"
if exist "%target%" goto stillthere
rmdir "%folder%" 2>nul
echo DuskyVeil is removed from "%plugins%". Saved presets stay in "%APPDATA%\LucentVeil".
goto done

:nothing
echo There is no DuskyVeil in "%plugins%".
goto done

:nofolder
echo There is no folder "%plugins%". Nothing was changed.
goto failed

:nosource
echo DuskyVeil.8bf does not lie beside install.cmd. Unpack the whole archive first. Nothing was changed.
goto failed

:denied
if exist "%target%.new" del /q "%target%.new"
rmdir "%folder%" 2>nul
echo "%folder%" can't be written. Run install.cmd as administrator. Nothing was changed.
goto failed

:inuse
del /q "%target%.new"
echo "%target%" can't be replaced. Close Photoshop, or run install.cmd as administrator. Nothing was changed.
goto failed

:stillthere
echo "%target%" can't be removed. Close Photoshop, or run install.cmd as administrator.
goto failed

:done
if "%wait%"=="yes" pause
exit /b 0

:failed
if "%wait%"=="yes" pause
exit /b 1
