// Texts that Tarnwell shows in the explorer, in French. UTF-8; the extension reads from the first
// brace on. Menu items stand after the explorer's own, so they read like these.
var language = {
    "menu": {
        "open": "Ouvrir"
    },
    "tarnwellDLL": {
        "sign": "Signer",
        "encrypt": "Chiffrer",
        "signencrypt": "Signer et chiffrer",
        "recover": "Déchiffrer et ouvrir",
        "recover_veryfy": "Vérifier et ouvrir",
        "general_error_title": "Impossible d’exécuter la commande",
        "general_error_message": "Le fichier n’a pas été traité. Vérifiez que le gestionnaire Corvane est installé et que le fichier n’est pas endommagé, puis réessayez.",
        "open_file_error_message": "Le fichier a été extrait, mais n’a pas pu être ouvert. Ouvrez-le depuis son dossier avec le programme de votre choix.",
        "recover_error_title": "Impossible d’extraire le contenu",
        "recover_error_message": "Le contenu du fichier signé n’a pas pu être enregistré dans son dossier. Vérifiez que le fichier n’est pas endommagé et que vous êtes autorisé à enregistrer des fichiers dans ce dossier, puis réessayez.",
        "signed_by": "Signé par",
        "signed_on": "Signé le"
    }
};
