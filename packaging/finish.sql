UPDATE `File` SET `Version` = '@VERSION@.0', `Language` = '1033' WHERE `File` = 'Tarnwell.dll'
UPDATE `File` SET `Version` = '@VERSION@.0', `Language` = '1033' WHERE `File` = 'zelLog.dll'
UPDATE `File` SET `Version` = '@VERSION@.0', `Language` = '1033' WHERE `File` = 'p7tool.exe'
UPDATE `File` SET `Version` = '@VERSION@.0', `Language` = '1033' WHERE `File` = 'shellprobe.exe'
UPDATE `File` SET `Version` = '@VERSION@.0', `Language` = '1033' WHERE `File` = 'Corvane.exe'
DELETE FROM `MsiFileHash` WHERE `File_` = 'Tarnwell.dll'
DELETE FROM `MsiFileHash` WHERE `File_` = 'zelLog.dll'
DELETE FROM `MsiFileHash` WHERE `File_` = 'p7tool.exe'
DELETE FROM `MsiFileHash` WHERE `File_` = 'shellprobe.exe'
DELETE FROM `MsiFileHash` WHERE `File_` = 'Corvane.exe'
UPDATE `InstallExecuteSequence` SET `Sequence` = 1501 WHERE `Action` = 'RemoveExistingProducts'
UPDATE `Property` SET `Value` = 'INSTALLDIR;MANAGERDIR;EARLIERINSTALLDIR;EARLIERMANAGERDIR;WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED' WHERE `Property` = 'SecureCustomProperties'
INSERT INTO `Component` (`Component`, `ComponentId`, `Directory_`, `Attributes`, `Condition`, `KeyPath`) VALUES ('FileTypes', '{9F1578B3-BB50-4617-9188-60FEC7A299C7}', 'BinFolder', 276, '', 'FileTypes1')
INSERT INTO `FeatureComponents` (`Feature_`, `Component_`) VALUES ('Main', 'FileTypes')
INSERT INTO `RemoveFile` (`FileKey`, `Component_`, `FileName`, `DirProperty`, `InstallMode`) VALUES ('MakerFolder', 'Folder', '', 'MakerFolder', 2)
INSERT INTO `RemoveFile` (`FileKey`, `Component_`, `FileName`, `DirProperty`, `InstallMode`) VALUES ('ManagerMakerFolder', 'ManagerFolder', '', 'ManagerMakerFolder', 2)
